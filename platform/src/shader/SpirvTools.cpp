// SPIRV-Tools set up for our target.
#include "shader/SpirvTools.h"

#include <spirv-tools/libspirv.hpp>
#include <spirv-tools/optimizer.hpp>

namespace gleam {
namespace {

constexpr spv_target_env Target = SPV_ENV_VULKAN_1_3;

spvtools::MessageConsumer Collect(std::string& message)
{
    return [&message](spv_message_level_t level, const char*, const spv_position_t&, const char* text) {
        if (level <= SPV_MSG_ERROR)
            message.append(message.empty() ? "" : "\n").append(text);
    };
}

} // namespace

bool OptimizeSpirv(std::vector<std::uint32_t>& words, EOptimization level, std::string& message)
{
    spvtools::Optimizer optimizer(Target);
    optimizer.SetMessageConsumer(Collect(message));
    optimizer.RegisterLegalizationPasses();
    if (level == EOptimization::Perform)
        optimizer.RegisterPerformancePasses();
    spvtools::OptimizerOptions options;
    options.set_run_validator(false);
    return optimizer.Run(words.data(), words.size(), &words, options);
}

bool ValidateSpirv(std::span<const std::uint32_t> words, std::string& message)
{
    spvtools::SpirvTools tools(Target);
    tools.SetMessageConsumer(Collect(message));
    spvtools::ValidatorOptions options;
    options.SetScalarBlockLayout(true);
    return tools.Validate(words.data(), words.size(), options);
}

} // namespace gleam
