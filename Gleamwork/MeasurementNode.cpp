// Trees of measured events.
#include "Gleamwork/MeasurementNode.h"

#include <utility>

namespace gw {

MeasurementNode::MeasurementNode(const MeasurementNode& other)
{
    *this = other;
}

MeasurementNode::MeasurementNode(MeasurementNode&& other) noexcept
{
    *this = std::move(other);
}

MeasurementNode& MeasurementNode::operator=(const MeasurementNode& other)
{
    if (this != &other) {
        name = other.name;
        children = other.children;
        CopyValues(other);
    }
    return *this;
}

MeasurementNode& MeasurementNode::operator=(MeasurementNode&& other) noexcept
{
    if (this != &other) {
        name = std::move(other.name);
        children = std::move(other.children);
        other.children.Clear();
        CopyValues(other);
    }
    return *this;
}

void MeasurementNode::CopyValues(const MeasurementNode& other)
{
    cpuTime = other.cpuTime;
    gpuTime = other.gpuTime;
    statistics = other.statistics;
    parent = other.parent;
    AdoptChildren();
}

void MeasurementNode::AdoptChildren()
{
    for (MeasurementNode& child : children) {
        child.parent = this;
    }
}

MeasurementNode& MeasurementNode::CreateChild()
{
    children.Add(MeasurementNode());
    MeasurementNode& child = children[children.GetSize() - 1];
    child.parent = this;
    return child;
}

} // namespace gw
