// The stored form: what is damaged, cut or forged is refused.
#include <cstring>

#include <xxhash.h>

#include "ShaderKit.h"
#include "shader/ShaderContainer.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Sample()
{
    const Compiled c = Compile(
        "struct S { float3 a; float b[2]; }; cbuffer B { S s; float4 d = {1, 2, 3, 4}; } Texture2D t; SamplerState p;"
        "float4 main(float2 uv : TEXCOORD, uint v : SV_VertexID) : SV_Position { return t.SampleLevel(p, uv, v) + "
        "s.b[1] + d; }",
        "vs_5_0");
    const auto* begin = static_cast<const std::uint8_t*>(c.code->GetBufferPointer());
    return {begin, begin + c.code->GetBufferSize()};
}

/// Both readers; they have to agree on what is a container, though only one looks at the code.
bool IsTaken(const Bytes& bytes)
{
    gleam::ShaderModule module;
    void* reflection = nullptr;
    const bool parsed = SUCCEEDED(gleam::ParseShader(bytes.data(), bytes.size(), module));
    if (SUCCEEDED(D3DReflect(bytes.data(), bytes.size(), IID_ID3D11ShaderReflection, &reflection)))
        static_cast<IUnknown*>(reflection)->Release();
    else
        EXPECT_FALSE(parsed);
    return parsed;
}

/// Makes the hash right again, so that the checks behind it are reached.
void Rehash(Bytes& bytes)
{
    const std::uint64_t hash = XXH3_64bits(bytes.data() + 24, bytes.size() - 24);
    std::memcpy(bytes.data() + 16, &hash, sizeof(hash));
}

void Put32(Bytes& bytes, std::size_t at, std::uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof(value));
}

std::uint32_t Get32(const Bytes& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof(value));
    return value;
}

} // namespace

TEST(ShaderContainer, HoldsWhatWasCompiled)
{
    const Bytes bytes = Sample();
    gleam::ShaderModule module;
    ASSERT_EQ(gleam::ParseShader(bytes.data(), bytes.size(), module), S_OK);
    EXPECT_EQ(module.stage, gleam::EShaderStage::Vertex);
    ASSERT_EQ(module.bindings.size(), 3u);
    EXPECT_EQ(module.bindings[0].binding, gleam::SamplerBase);
    EXPECT_EQ(module.bindings[1].binding, gleam::ResourceBase);
    EXPECT_EQ(module.bindings[2].size, 64u);
    EXPECT_EQ(module.inputs.size(), 2u);
    EXPECT_GT(module.instructionCount, 0u);

    gleam::ContainerView view;
    ASSERT_TRUE(gleam::OpenContainer(bytes, view));
    gleam::ShaderInfo info;
    ASSERT_TRUE(gleam::ReadShaderInfo(view.info, info));
    EXPECT_EQ(gleam::WriteShaderInfo(info), Bytes(view.info.begin(), view.info.end()));
    EXPECT_EQ(gleam::WriteContainer(module.spirv, info), bytes);
}

TEST(ShaderContainer, RefusesEveryCutAndEveryChangedByte)
{
    const Bytes bytes = Sample();
    for (std::size_t size = 0; size < bytes.size(); ++size)
        ASSERT_FALSE(IsTaken(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    Bytes longer = bytes;
    longer.push_back(0);
    EXPECT_FALSE(IsTaken(longer));
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        Bytes changed = bytes;
        changed[at] ^= 0x40;
        ASSERT_FALSE(IsTaken(changed)) << at;
    }
}

TEST(ShaderContainer, RefusesForgedFieldsBehindARightHash)
{
    const Bytes bytes = Sample();
    const std::uint32_t spirv = Get32(bytes, 28);
    const std::uint32_t info = Get32(bytes, 40);
    struct Forgery
    {
        std::size_t at;
        std::uint32_t value;
    };
    const std::vector<Forgery> forgeries = {
        {4, 99},                  // format version
        {12, 17},                 // number of chunks
        {12, 0xffffffff},         // more chunks than there are bytes
        {24, 0x12345678},         // unknown instead of code
        {28, 0xfffffffc},         // offset past the end
        {28, spirv + 1},          // crooked offset
        {32, 0xffffffff},         // size past the end
        {32, 6},                  // no whole words
        {36, 0x12345678},         // unknown instead of info
        {44, 4},                  // info cut short
        {spirv, 0},               // magic number of the code
        {spirv + 12, 0xffffffff}, // bound of ids
        {spirv + 12, 1},          // bound below the ids
        {spirv + 20, 0x00000011}, // instruction of length 0
        {spirv + 20, 0xffff0011}, // instruction past the end
        {info, 6},                // stage
        {info, 0},                // stage that the entry point is not of
        {info + 12, 0x7fffffff},  // number of buffers
        {info + 16, 0xfffffff0},  // length of a name
    };
    for (const Forgery& forgery : forgeries) {
        Bytes forged = bytes;
        Put32(forged, forgery.at, forgery.value);
        Rehash(forged);
        EXPECT_FALSE(IsTaken(forged)) << forgery.at << " = " << forgery.value;
    }
}

TEST(ShaderContainer, SurvivesAnyWordInAnyPlace)
{
    // Not all of these are refused (a count in the statistics may be anything); none may do harm.
    const Bytes bytes = Sample();
    for (std::size_t at = 24; at + 4 <= bytes.size(); at += 4)
        for (const std::uint32_t value : {0u, 1u, 0xffu, 0x7fffffffu, 0xffffffffu}) {
            Bytes forged = bytes;
            Put32(forged, at, value);
            Rehash(forged);
            IsTaken(forged);
        }
}
