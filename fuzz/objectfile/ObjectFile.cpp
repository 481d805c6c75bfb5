// Loads the input as an object file and reads every value that a reader of device tables could ask for.
#include <qs/Log.h>
#include <qs/ObjectVisitor.h>

namespace {

struct Names
{
    qs::FixedString nodes[4] = {Make("GfxDeviceData"), Make("KnownGfxDevices"), Make("GfxDeviceInfo"), Make("n")};
    qs::FixedString values[5] = {Make("VendorID"), Make("Description"), Make("v"), Make("id"), Make("")};

    static qs::FixedString Make(const char* text) { return qs::FixedString::Create(text, -1); }
};

void ReadNode(qs::ObjectVisitor& visitor, const Names& names)
{
    for (const qs::FixedString& name : names.values) {
        qs::STDString text;
        int32_t number = 0;
        uint32_t count = 0;
        uint8_t byte = 0;
        visitor.Visit(name, &text, qs::STDString("default"));
        visitor.Visit(name, &number, 1);
        visitor.Visit(name, &count, 2u);
        visitor.Visit(name, &byte, uint8_t(3));
    }
    for (const qs::FixedString& name : names.nodes) {
        const uint32_t count = visitor.GetChildCount(name, nullptr);
        uint32_t entered = 0;
        while (visitor.EnterNode(name, qs::FFFS::str)) {
            ++entered;
            ReadNode(visitor, names);
            visitor.ExitNode(name);
        }
        if (entered != count) {
            __builtin_trap(); // the list gives as many nodes as it counts
        }
        if (visitor.EnterNode(name, names.values[2])) {
            visitor.ExitNode(name);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static const Names names;
    static qs::LogCapture quiet;
    quiet.Clear();
    qs::DefaultObjectVisitor visitor;
    if (!visitor.Load(qs::ConstByteView(data, size), qs::Path(qs::PATH_ROOT_NONE, "fuzz.qsx"))) {
        return 0;
    }
    for (const qs::FixedString& name : names.nodes) {
        if (visitor.EnterRegion(name)) {
            ReadNode(visitor, names);
            visitor.ExitRegion(name);
        }
    }
    return 0;
}
