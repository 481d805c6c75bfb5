// Marks what the platform library exports; everything else in it is hidden.
#pragma once

#define GLEAM_PLATFORM_API __attribute__((visibility("default")))
