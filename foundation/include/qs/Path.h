// Names of files under the engine's directories.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qs/Export.h>
#include <qs/String.h>
#include <qs/StringView.h>

namespace qs {

/// Directories that file names are relative to. FileSystem::SetRoot sets where each of them lies.
enum EPathRoot : uint16_t
{
    PATH_ROOT_NONE = 0, ///< no directory: the text is a path of the operating system, absolute or from where we run
    PATH_ROOT_DATA = 1, ///< files the application ships
    PATH_ROOT_USER = 2, ///< files the application writes
    PATH_ROOT_TEMP = 3, ///< files that may vanish between two runs
    PATH_ROOT_COUNT
};

/// A file name: a text with '/' between its parts, ready for the operating system, and a root tag behind it.
///
/// A path made from a root and a text holds the root's prefix as it was at that moment, so it stays valid when the
/// root moves. Its text is normalised. Under a root other than PATH_ROOT_NONE, separators and ".." at the front of the
/// text lead nowhere: such a path never names a file outside the root (symbolic links inside it are followed).
class QS_API Path
{
public:
    /// An empty path that is tagged with `root`.
    explicit Path(EPathRoot root = PATH_ROOT_NONE);
    /// `text` under `root`. A null text counts as empty; a view ends at its first zero character.
    Path(EPathRoot root, const char* text);
    Path(EPathRoot root, const StringView& text);

    /// Directory of a root without a separator at its end; empty means the directory the process runs in. The view is
    /// valid for the rest of the process. An unknown root gives an empty view.
    static StringView GetPrefixForRoot(EPathRoot root);

    /// Turns '\' into '/', drops empty parts and ".", and lets each ".." take away the part before it. A ".." with
    /// nothing before it stays in a relative text and vanishes behind a leading '/'.
    static void Normalize(STDString& text);

    const char* ToChar() const { return m_text.ToChar(); }
    /// The text in wide characters, read as UTF-8.
    STDWString ToWString() const;
    /// What stands behind the last dot of the last part, without the dot. Empty when there is none; a dot at the very
    /// front of a name starts no extension. The view lives as long as this path is not changed.
    StringView GetExtension() const;
    bool IsEmpty() const { return *m_text.ToChar() == '\0'; }
    EPathRoot GetRootTag() const { return static_cast<EPathRoot>(m_root); }

private:
    void Build(EPathRoot root, const StringView& text);

    STDString m_text;
    /// The tag the path was constructed with; 0 when the prefix is already part of the text.
    uint16_t m_root;
};

} // namespace qs
