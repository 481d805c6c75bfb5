// Pull reading of the engine's tree-shaped object files.
//
// Text form of an object file (extension .qsx), UTF-8 XML:
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <objects version="1">
//       <GfxDeviceData>                                            a region: a child of the root element
//         <KnownGfxDevices>                                        a node
//           <GfxDeviceInfo VendorID="0x10de" Description="..."/>   a child node with two values
//           <GfxDeviceInfo id="second" VendorID="4098"/>           a node with an identifier
//         </KnownGfxDevices>
//       </GfxDeviceData>
//     </objects>
//
// An element's name is the node's name, its attributes are its values, and the attribute "id" is its identifier.
// Whole numbers are decimal, or hexadecimal behind "0x". Character data, comments and processing instructions are
// skipped; entities of one's own are not expanded. A file has at most 16 MiB, 64 levels and one root element.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <qs/Export.h>
#include <qs/FixedString.h>
#include <qs/MemView.h>
#include <qs/Path.h>
#include <qs/String.h>

namespace qs {

/// What code that loads records sees of an object file: it enters regions and nodes by name and visits their values.
/// A visitor belongs to one thread at a time.
class QS_API ObjectVisitor
{
public:
    virtual ~ObjectVisitor();

    /// True when Visit fills the variables it is given.
    virtual bool IsReading() const = 0;
    virtual bool EnterRegion(const FixedString& name) = 0;
    virtual void ExitRegion(const FixedString& name) = 0;
    /// Enters a child node of the region or node entered last. With a null or empty identifier, or FFFS::str, each call
    /// enters the next child of that name, so that a list is read by entering as many times as GetChildCount tells.
    /// With an identifier it enters the child of that name that bears it. False when there is none.
    virtual bool EnterNode(const FixedString& name, const FixedString& identifier) = 0;
    /// Leaves the node. A name that is not the one entered last asserts, and nothing is left.
    virtual void ExitNode(const FixedString& name) = 0;
    /// Number of child nodes of that name; also stored through `count` unless that is null.
    virtual uint32_t GetChildCount(const FixedString& name, uint32_t* count) = 0;
    /// Reads a value of the node entered last. A missing value gives the default and true. A value that cannot be read
    /// as the type, or does not fit it, gives the default and false, and logs an error with file and line.
    virtual bool Visit(const FixedString& name, STDString* value, const STDString& defaultValue) = 0;
    virtual bool Visit(const FixedString& name, int32_t* value, int32_t defaultValue) = 0;
    virtual bool Visit(const FixedString& name, uint32_t* value, uint32_t defaultValue) = 0;
    virtual bool Visit(const FixedString& name, uint8_t* value, uint8_t defaultValue) = 0;

    /// The file being read; empty before the first Load.
    const Path& GetFileName() const { return m_fileName; }

protected:
    Path m_fileName;
};

/// Reads an object file that it loads as a whole.
class QS_API DefaultObjectVisitor : public ObjectVisitor
{
public:
    DefaultObjectVisitor();
    ~DefaultObjectVisitor() override;
    DefaultObjectVisitor(const DefaultObjectVisitor&) = delete;
    DefaultObjectVisitor& operator=(const DefaultObjectVisitor&) = delete;

    /// Reads and parses the file; what was loaded before is gone in every case. False when the file cannot be opened or
    /// parsed or breaks a limit; the reason is logged as an error with file and line.
    bool Load(const Path& path);
    /// The same from memory, which is not needed afterwards; `name` stands for the file in messages.
    bool Load(const MemView<const unsigned char>& content, const Path& name);

    bool IsReading() const override;
    bool EnterRegion(const FixedString& name) override;
    void ExitRegion(const FixedString& name) override;
    bool EnterNode(const FixedString& name, const FixedString& identifier) override;
    void ExitNode(const FixedString& name) override;
    uint32_t GetChildCount(const FixedString& name, uint32_t* count) override;
    bool Visit(const FixedString& name, STDString* value, const STDString& defaultValue) override;
    bool Visit(const FixedString& name, int32_t* value, int32_t defaultValue) override;
    bool Visit(const FixedString& name, uint32_t* value, uint32_t defaultValue) override;
    bool Visit(const FixedString& name, uint8_t* value, uint8_t defaultValue) override;

private:
    struct Document;

    bool CheckTree();
    void Leave(const FixedString& name, size_t level, const char* operation);
    template <class T>
    bool VisitNumber(const FixedString& name, T* value, T defaultValue);

    std::unique_ptr<Document> m_document;
};

} // namespace qs
