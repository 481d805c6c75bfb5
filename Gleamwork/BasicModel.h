// The named, bounded base of all models.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/FixedString.h>
#include <qs/Math.h>
#include <qs/Memory.h>

namespace gw {

/// What a model is, told without the language's own type information.
enum EModelRTTI : int
{
    eModelRTTI_BasicModel = 1,
    eModelRTTI_Model = 3, ///< also of gw::ClothModel
    eModelRTTI_ModelProxy = 5,
};

/// A name, an id and a bound. Copied by value. Not thread-safe.
class GW_API BasicModel
{
public:
    QS_DECLARE_ALLOC(gw::BasicModel)

    BasicModel() = default;
    /// Name and id are the same at first.
    explicit BasicModel(const qs::FixedString& name) : m_name(name), m_id(name) {}
    BasicModel(const BasicModel&) = default;
    BasicModel& operator=(const BasicModel&) = default;

    /// One of EModelRTTI.
    virtual int GetRTTI() const { return eModelRTTI_BasicModel; }
    virtual ~BasicModel() = default;

    const qs::FixedString& GetName() const { return m_name; }
    void SetName(const qs::FixedString& name) { m_name = name; }
    /// Names the memory that the model takes, and what a pick hit.
    const qs::FixedString& GetId() const { return m_id; }
    void SetId(const qs::FixedString& id) { m_id = id; }
    /// In model space; both corners at the origin until someone sets it.
    const qs::Bound& GetBound() const { return m_bound; }
    void SetBound(const qs::Bound& bound) { m_bound = bound; }

private:
    qs::FixedString m_name;
    qs::FixedString m_id;
    qs::Bound m_bound = qs::Bound::BOUND_ZERO;
};

} // namespace gw
