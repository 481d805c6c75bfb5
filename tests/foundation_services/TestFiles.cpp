// Paths, roots, readers and writers.
#include <sys/stat.h>

#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/MessageBox.h>

#include "TestDirectory.h"

using namespace qs;

TEST(Path, NormalizesAndNeverLeavesItsRoot)
{
    struct Case
    {
        const char *text, *alone, *underRoot;
    };
    const Case cases[] = {
        {"", "", ""},
        {"a/b.dds", "a/b.dds", "a/b.dds"},
        {"a\\b\\\\c//d/", "a/b/c/d", "a/b/c/d"},
        {"./a/./b/.", "a/b", "a/b"},
        {"a/x/../b", "a/b", "a/b"},
        {"a/..", "", ""},
        {"../../etc/passwd", "../../etc/passwd", "etc/passwd"},
        {"a/../../b", "../b", "b"},
        {"..\\..\\b", "../../b", "b"},
        {"/etc/passwd", "/etc/passwd", "etc/passwd"},
        {"/../../b", "/b", "b"},
        {"...", "...", "..."},
    };
    for (const Case& c : cases) {
        STDString text(c.text);
        Path::Normalize(text);
        EXPECT_STREQ(text.ToChar(), c.alone);
        EXPECT_STREQ(Path(PATH_ROOT_NONE, c.text).ToChar(), c.alone);
        ASSERT_TRUE(FileSystem::SetRoot(PATH_ROOT_DATA, "base\\data//"));
        const Path below(PATH_ROOT_DATA, c.text);
        ASSERT_TRUE(FileSystem::SetRoot(PATH_ROOT_DATA, ""));
        EXPECT_EQ(below.ToChar(), std::string("base/data") + (*c.underRoot ? "/" : "") + c.underRoot);
        EXPECT_STREQ(Path(PATH_ROOT_DATA, c.text).ToChar(), c.underRoot);
    }
}

TEST(Path, PartsAndConversions)
{
    const std::pair<const char*, const char*> extensions[] = {{"dir.d/photo.JPEG", "JPEG"},
                                                              {"a.tar.gz", "gz"},
                                                              {"dir.d/none", ""},
                                                              {".hidden", ""},
                                                              {"x/.hidden", ""},
                                                              {"dot.", ""},
                                                              {"", ""}};
    for (const auto& [name, extension] : extensions) {
        EXPECT_EQ(Path(PATH_ROOT_NONE, name).GetExtension(), StringView(extension)) << name;
    }
    EXPECT_STREQ(Path(PATH_ROOT_NONE, "b\xc3\xa4r.png").ToWString().ToWChar(), L"b\u00e4r.png");
    EXPECT_STREQ(Path(PATH_ROOT_NONE, StringView("cut\0off", 7)).ToChar(), "cut");
    EXPECT_TRUE(Path(PATH_ROOT_NONE, static_cast<const char*>(nullptr)).IsEmpty());
    const Path tagged(PATH_ROOT_DATA);
    EXPECT_TRUE(tagged.IsEmpty());
    EXPECT_EQ(tagged.GetRootTag(), PATH_ROOT_DATA);
    EXPECT_EQ(Path(PATH_ROOT_DATA, "x").GetRootTag(), PATH_ROOT_NONE) << "the prefix is part of the text";
    LogCapture log;
    EXPECT_FALSE(FileSystem::SetRoot(PATH_ROOT_NONE, "x"));
    EXPECT_EQ(log.Count(LogLevelAssertion), 1u);
    EXPECT_TRUE(Path::GetPrefixForRoot(PATH_ROOT_COUNT).IsEmpty());
}

class FileReading : public testing::TestWithParam<FileReader::EType>
{
};

TEST_P(FileReading, ReadsSeeksAndMoves)
{
    TestDirectory directory;
    std::string content(200'000, '\0');
    for (size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 7 + i / 251);
    }
    FileReader opened(directory.Write("data.bin", content), GetParam());
    FileReader reader;
    EXPECT_FALSE(reader.IsLoaded());
    reader = std::move(opened);
    EXPECT_FALSE(opened.IsLoaded());
    ASSERT_TRUE(reader.IsLoaded());
    EXPECT_EQ(reader.GetFileSize(), content.size());
    const bool mapped = GetParam() != FileReader::TYPE_SEQUENTIAL;
    EXPECT_EQ(reader.GetData() != nullptr, mapped);
    EXPECT_EQ(reader.GetMemory().GetSize(), mapped ? content.size() : 0);
    if (mapped) {
        EXPECT_EQ(std::string(reader.GetData(), content.size()), content);
    }
    // Sizes around the buffer's, in one pass and behind seeks.
    std::string seen;
    char block[100'000];
    for (const size_t size : {size_t(1), size_t(65'535), size_t(2), size_t(100'000), size_t(100'000)}) {
        seen.append(block, reader.Read(block, size));
    }
    EXPECT_EQ(seen, content);
    EXPECT_EQ(reader.Read(block, 1), 0u);
    reader.Seek(100);
    EXPECT_EQ(reader.Read(block, 10), 10u);
    EXPECT_EQ(std::string(block, 10), content.substr(100, 10));
    reader.Seek(-5, SEEK_FROM_END);
    EXPECT_EQ(reader.Read(block, 10), 5u);
    reader.Seek(-1'000'000, SEEK_FROM_CURRENT);
    EXPECT_EQ(reader.GetPosition(), 0u);
    reader.Seek(INT64_MAX, SEEK_FROM_END);
    EXPECT_EQ(reader.GetPosition(), content.size());
    reader.Seek(INT64_MIN, SEEK_FROM_END);
    EXPECT_EQ(reader.GetPosition(), 0u);
}

TEST_P(FileReading, RefusesWhatIsNoFile)
{
    TestDirectory directory;
    const FileReader empty(directory.Write("empty", ""), GetParam());
    EXPECT_TRUE(empty.IsLoaded());
    EXPECT_EQ(empty.GetFileSize(), 0u);
    EXPECT_EQ(empty.GetData() != nullptr, GetParam() != FileReader::TYPE_SEQUENTIAL);

    ASSERT_EQ(mkfifo(directory.Name("pipe").c_str(), 0600), 0);
    const std::string longName(5000, 'x');
    LogCapture log;
    for (const Path& path : {directory.At("missing"), directory.At("."), directory.At("pipe"), directory.At(longName),
                             Path(PATH_ROOT_NONE), Path(PATH_ROOT_NONE, "/dev/null")}) {
        FileReader reader(path, GetParam());
        char byte;
        EXPECT_FALSE(reader.IsLoaded()) << path.ToChar();
        EXPECT_STRNE(reader.GetErrorText(), "");
        EXPECT_EQ(reader.Read(&byte, 1), 0u);
        EXPECT_EQ(reader.GetFileSize(), 0u);
        EXPECT_TRUE(reader.GetMemory().IsNull());
    }
    EXPECT_EQ(log.Count(), 0u) << "the caller reports what it could not open";
    EXPECT_TRUE(FileSystem::DoesFileExist(directory.At("."), false));
    EXPECT_FALSE(FileSystem::DoesFileExist(directory.At("."), true));
    EXPECT_TRUE(FileSystem::DoesFileExist(directory.At("empty"), true));
}

INSTANTIATE_TEST_SUITE_P(Types, FileReading,
                         testing::Values(FileReader::TYPE_SEQUENTIAL, FileReader::TYPE_DATA, FileReader::TYPE_MEMORY));

TEST(FileWriting, CreatesAppendsAndReportsFullDisks)
{
    TestDirectory directory;
    ASSERT_TRUE(FileSystem::MakeDirectory(directory.At("a/b/c")));
    const Path path = directory.At("a/b/c/out");
    for (const auto type : {FileWriter::TYPE_CREATE, FileWriter::TYPE_CREATE, FileWriter::TYPE_APPEND}) {
        FileWriter writer(path, type, FileWriter::FLAG_SYNC);
        EXPECT_EQ(writer.Write("abc", 3), 3u);
        EXPECT_EQ(writer.Write(nullptr, 0), 0u);
        EXPECT_EQ(writer.GetSize(), 3u);
        EXPECT_TRUE(writer.Close());
        EXPECT_EQ(writer.Write("x", 1), 0u) << "closed";
    }
    EXPECT_EQ(directory.Read("a/b/c/out"), "abcabc");

    LogCapture log;
    FileWriter full(Path(PATH_ROOT_NONE, "/dev/full"), FileWriter::TYPE_CREATE, 0);
    EXPECT_TRUE(full.IsGood());
    EXPECT_EQ(full.Write("abc", 3), 0u);
    EXPECT_EQ(full.Write("abc", 3), 0u);
    EXPECT_FALSE(full.Close());
    EXPECT_EQ(log.Count(LogLevelError), 1u) << "once, not for every write";
    EXPECT_TRUE(log.Contains("/dev/full"));

    log.Clear();
    FileWriter nowhere(directory.At("missing/out"), FileWriter::TYPE_CREATE, 0);
    EXPECT_FALSE(nowhere.IsOpen());
    EXPECT_EQ(nowhere.Write("abc", 3), 0u);
    EXPECT_FALSE(FileSystem::MakeDirectory(directory.At("a/b/c/out/d")));
    EXPECT_FALSE(FileSystem::MakeDirectory(path));
    EXPECT_EQ(log.Count(LogLevelError), 3u);
}

TEST(MessageBoxes, GoToTheHandlerThatIsSet)
{
    std::string shown;
    qsSetMessageBoxHandler(
        [](const char* title, const char* text, QsMessageType type, void* context) {
            *static_cast<std::string*>(context) += std::string(title) + "|" + text + "|" + std::to_string(type) + "\n";
        },
        &shown);
    qsMessageBox("title", nullptr, QS_MESSAGE_ERROR);
    qsMessageBox(L"wide \u00e4", L"text", QS_MESSAGE_INFORMATION);
    qsSetMessageBoxHandler(nullptr, nullptr);
    testing::internal::CaptureStderr();
    qsMessageBox("to the", "error stream", QS_MESSAGE_ERROR);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "to the\nerror stream\n");
    EXPECT_EQ(shown, "title||3\nwide \xc3\xa4|text|0\n");
}
