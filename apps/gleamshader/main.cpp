// gleamshader: compiles text shader files into binary ones, ahead of time.
#include "Options.h"
#include "Report.h"

#include <Gleamwork/TextShader.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <qs/Path.h>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr char OutputEnding[] = "_DX11.bshd";

/// The stages of one source, on their way into a file.
struct Stages
{
    ~Stages()
    {
        for (gw::CompiledShader& stage : compiled)
            stage.Destroy();
    }
    bool Store(int index, const std::vector<char>& code)
    {
        void* block = qs::MemoryManager::Allocate(code.size(), qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true);
        if (!block)
            return false;
        std::memcpy(block, code.data(), code.size());
        compiled[index].SetData(block, code.size());
        return true;
    }

    gw::CompiledShader compiled[4];
};

int Fail(const std::string& message)
{
    std::fprintf(stderr, "gleamshader: %s\n", message.c_str());
    return 1;
}

/// Compiles all stages of a source. False when one fails; every stage's messages are printed either way.
bool CompileStages(const apps::ShaderSource& source, const gleamshader::Options& options, Stages& stages,
                   std::string& report)
{
    bool isCompiled = true;
    for (int i = 0; i < 4; ++i) {
        const auto type = gw::EShaderType(gw::eShaderType_Vertex + i);
        if (!source.sections[i].data)
            continue;
        const apps::StageResult result = apps::CompileStage(source, type, options.stage);
        if (!result.messages.empty())
            std::fprintf(stderr, "%s\n", result.messages.c_str());
        if (!result.isCompiled) {
            Fail(source.path + ": the " + apps::StageName(type) + " section does not compile");
            isCompiled = false;
        } else if (!stages.Store(i, result.code)) {
            Fail(source.path + ": no memory for the " + apps::StageName(type) + " section's code");
            isCompiled = false;
        } else if (options.info) {
            report += gleamshader::DescribeStage(type, result.code);
        }
    }
    return isCompiled;
}

int Build(const std::string& path, const std::string& out, const gleamshader::Options& options)
{
    apps::ShaderSource source;
    std::string error;
    if (!apps::ReadShaderSource(path, source, error))
        return Fail(error);
    bool hasStage = false;
    for (const gw::ShaderData& section : source.sections)
        hasStage = hasStage || section.data;
    if (!hasStage)
        return Fail(path + R"(: no section such as "[Vertex shader]" or "[Fragment shader]")");
    Stages stages;
    std::string report;
    if (!CompileStages(source, options, stages, report))
        return 1;
    auto& [vertex, geometry, fragment, compute] = stages.compiled;
    std::error_code code;
    if (!gw::CreateCompiledShaderFile(qs::Path(qs::PATH_ROOT_NONE, out.c_str()), vertex, geometry, fragment, compute)) {
        // Half a file would be taken for a whole one by its date.
        if (fs::is_regular_file(out, code))
            fs::remove(out, code);
        return Fail(out + ": cannot be written");
    }
    std::printf("%s -> %s, %ju bytes\n%s", path.c_str(), out.c_str(), std::uintmax_t(fs::file_size(out, code)),
                report.c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    std::string error;
    const auto options = gleamshader::ParseOptions(argc, argv, error);
    if (!options) {
        std::fprintf(stderr, "gleamshader: %s\nTry 'gleamshader --help'.\n", error.c_str());
        return 2;
    }
    if (options->help) {
        std::fputs(gleamshader::HelpText, stdout);
        return 0;
    }
    std::error_code code;
    fs::create_directories(options->folder, code);
    if (!fs::is_directory(options->folder, code))
        return Fail(options->folder + ": the folder cannot be made");
    int status = 0;
    std::set<fs::path> written;
    for (const std::string& source : options->sources) {
        const fs::path out = fs::path(options->folder) / (fs::path(source).stem().string() + OutputEnding);
        if (!written.insert(out).second)
            status = Fail(source + ": another source of this name was written to " + out.string());
        else
            status |= Build(source, out.string(), *options);
    }
    return status;
}
