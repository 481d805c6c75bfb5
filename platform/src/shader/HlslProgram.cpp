// Runs glslang over one stage.
#include "shader/HlslProgram.h"

#include <mutex>

#include "shader/Glslang.h"
#include "shader/HlslTree.h"

namespace gleam {
namespace {

void SetUpShader(glslang::TShader& shader, const HlslRequest& request, EShLanguage stage)
{
    shader.setEnvInput(glslang::EShSourceHlsl, stage, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_3);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_3);
    shader.setEntryPoint("main");
    shader.setSourceEntryPoint(request.entryPoint.c_str());
    shader.setDxPositionW(true);
    // Storage images get their formats after optimisation, when it is known which are read.
    shader.setNoStorageFormat(true);
}

void Generate(const glslang::TIntermediate& tree, std::vector<std::uint32_t>& spirv, std::string& log)
{
    glslang::SpvOptions options;
    options.disableOptimizer = true;
    spv::SpvBuildLogger messages;
    glslang::GlslangToSpv(tree, spirv, &messages, &options);
    log += messages.getAllMessages();
}

} // namespace

void StartGlslang()
{
    static std::once_flag started;
    std::call_once(started, [] { glslang::InitializeProcess(); });
}

EShLanguage GlslangStage(EShaderStage stage)
{
    constexpr EShLanguage stages[] = {EShLangFragment,    EShLangVertex,         EShLangGeometry,
                                      EShLangTessControl, EShLangTessEvaluation, EShLangCompute};
    return stages[static_cast<std::size_t>(stage)];
}

bool CompileHlsl(const HlslRequest& request, HlslProgram& program, std::string& log)
{
    StartGlslang();
    const EShLanguage stage = GlslangStage(request.stage);
    glslang::TShader shader(stage);
    SetUpShader(shader, request, stage);
    const char* text = request.text.c_str();
    const int length = static_cast<int>(request.text.size());
    const char* name = request.sourceName.c_str();
    shader.setStringsWithLengthsAndNames(&text, &length, &name, 1);
    if (request.rowMajor)
        shader.setPreamble("#pragma pack_matrix(row_major)\n");

    const bool parsed = shader.parse(GetDefaultResources(), HlslVersion, false, HlslMessages);
    log = shader.getInfoLog();
    if (!parsed)
        return false;

    glslang::TProgram linked;
    linked.addShader(&shader);
    const bool isLinked = linked.link(HlslMessages);
    log += linked.getInfoLog();
    glslang::TIntermediate* tree = isLinked ? linked.getIntermediate(stage) : nullptr;
    if (!tree)
        return false;
    if (tree->getNumEntryPoints() == 0) {
        log = "ERROR: '" + request.entryPoint + "': entrypoint not found\n";
        return false;
    }

    program.info.stage = request.stage;
    HlslTree view{*tree};
    ReadTree(view, program);
    Generate(*tree, program.spirv, log);
    return !program.spirv.empty();
}

} // namespace gleam
