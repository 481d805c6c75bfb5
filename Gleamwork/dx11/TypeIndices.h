// The object types of the back end's tables, registered between the start and the end of an API.
#pragma once

namespace api {

/// Registers the type names in their fixed order and hands the indices to the tables that stamp handles with them.
void RegisterObjectTypes();
/// Takes the registrations back, in reverse order.
void UnregisterObjectTypes();

} // namespace api
