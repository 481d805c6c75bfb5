// The least Vulkan that draws the scene well: a matrix is a slice of one uniform buffer, a texture a set of its own,
// and everything else is bound when it changes.
#include "bench/common/RawVulkanMeshes.h"

#include "bench/common/RawVulkanDevice.h"

#include <cmath>
#include <cstring>

namespace bench {

void MeshScene::FillMesh(unsigned mesh, Vertex (&vertices)[Vertices], std::uint16_t (&indices)[Indices])
{
    const float half = 0.5f + 0.05f * static_cast<float>(mesh);
    for (unsigned face = 0; face < 6; ++face) {
        const unsigned axis = face / 2;
        const float side = face % 2 ? 1.0f : -1.0f;
        for (unsigned corner = 0; corner < 4; ++corner) {
            const float u = corner & 1 ? 1.0f : -1.0f;
            const float v = corner & 2 ? 1.0f : -1.0f;
            Vertex& vertex = vertices[face * 4 + corner];
            vertex.position[axis] = side * half;
            vertex.position[(axis + 1) % 3] = u * side * half;
            vertex.position[(axis + 2) % 3] = v * half;
            vertex.uv[0] = u * 0.5f + 0.5f;
            vertex.uv[1] = v * 0.5f + 0.5f;
        }
        constexpr std::uint16_t order[] = {0, 2, 1, 1, 2, 3};
        for (unsigned i = 0; i < 6; ++i)
            indices[face * 6 + i] = static_cast<std::uint16_t>(face * 4 + order[i]);
    }
}

void MeshScene::FillTexture(unsigned texture, std::uint32_t (&pixels)[TextureSide * TextureSide])
{
    for (unsigned i = 0; i < TextureSide * TextureSide; ++i) {
        const unsigned checker = ((i / 4) ^ (i / TextureSide / 4)) & 1;
        pixels[i] = 0xff000000u | (texture * 0x010207u + (checker ? 0x404040u : 0u)) % 0x1000000u;
    }
}

void MeshScene::FillMatrix(unsigned draw, float (&matrix)[16])
{
    constexpr unsigned columns = 100;
    constexpr float scale = 0.008f;
    const float angle = static_cast<float>(draw) * 0.37f;
    const float c = std::cos(angle), s = std::sin(angle);
    const float tilt = 0.5f, ct = std::cos(tilt), st = std::sin(tilt);
    // Around y by the angle, then around x by the tilt.
    const float rows[3][3] = {{c, s * st, -s * ct}, {0, ct, st}, {s, -c * st, c * ct}};
    std::memset(matrix, 0, sizeof(matrix));
    for (unsigned row = 0; row < 3; ++row)
        for (unsigned column = 0; column < 3; ++column)
            matrix[row * 4 + column] = rows[row][column] * scale;
    matrix[12] = -0.99f + 0.02f * static_cast<float>(draw % columns);
    matrix[13] = -0.99f + 0.02f * static_cast<float>(draw / columns);
    matrix[14] = 0.5f;
    matrix[15] = 1;
}

const char* MeshScene::VertexText()
{
    return "float4x4 world; struct Out { float4 position : SV_Position; float2 uv : TEXCOORD0; };"
           "Out main(float3 position : POSITION, float2 uv : TEXCOORD0) { Out o;"
           "o.position = mul(float4(position, 1), world); o.uv = uv; return o; }";
}

const char* MeshScene::PixelText()
{
    return "Texture2D Base; SamplerState BaseSampler;"
           "float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target"
           "{ return Base.Sample(BaseSampler, uv); }";
}

namespace {

const char* const VertexGlsl = "#version 450\nlayout(set = 0, binding = 0) uniform C { mat4 world; };"
                               "layout(location = 0) in vec3 position; layout(location = 1) in vec2 uv;"
                               "layout(location = 0) out vec2 place; void main() {"
                               "gl_Position = world * vec4(position, 1); place = uv; }";
const char* const PixelGlsl = "#version 450\nlayout(set = 1, binding = 0) uniform sampler2D base;"
                              "layout(location = 0) in vec2 place; layout(location = 0) out vec4 result;"
                              "void main() { result = texture(base, place); }";

/// A dynamic offset is a multiple of what any device asks for.
constexpr uint32_t MatrixStride = 256;
constexpr VkDeviceSize TextureBytes = MeshScene::TextureSide * MeshScene::TextureSide * 4;

} // namespace

struct RawVulkanMeshes::State : RawVulkanDevice
{
    Image target;
    Buffer ring;
    Buffer vertices[MeshScene::Meshes], indices[MeshScene::Meshes];
    VkDescriptorSetLayout setLayouts[2] = {};
    VkPipelineLayout layout = VK_NULL_HANDLE;
    VkSampler sampler = VK_NULL_HANDLE;
    VkDescriptorPool descriptors = VK_NULL_HANDLE;
    VkDescriptorSet matrixSet = VK_NULL_HANDLE;
    VkDescriptorSet textureSets[MeshScene::Textures] = {};
    VkPipeline pipeline = VK_NULL_HANDLE;

    State();
    ~State();
    void MakeMeshes();
    void MakeLayouts();
    VkDescriptorSet MakeSet(unsigned kind, const VkDescriptorBufferInfo* buffer, const VkDescriptorImageInfo* image);
    void MakeTextures();
    void MakeScenePipeline();
    void RecordDraw(unsigned index);
};

RawVulkanMeshes::State::State()
{
    if (problem)
        return;
    target = MakeImage(MeshScene::Target, VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT);
    ring = MakeBuffer(VkDeviceSize(MeshScene::Draws) * MatrixStride, VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT);
    MakeMeshes();
    MakeLayouts();
    MakeTextures();
    MakeScenePipeline();
    if (!pipeline)
        problem = "the shaders do not compile";
}

RawVulkanMeshes::State::~State()
{
    if (!device)
        return;
    vkDeviceWaitIdle(device);
    vkDestroyDescriptorPool(device, descriptors, nullptr);
    vkDestroySampler(device, sampler, nullptr);
    vkDestroyPipelineLayout(device, layout, nullptr);
    for (VkDescriptorSetLayout setLayout : setLayouts)
        vkDestroyDescriptorSetLayout(device, setLayout, nullptr);
}

void RawVulkanMeshes::State::MakeMeshes()
{
    for (unsigned i = 0; i < MeshScene::Meshes; ++i) {
        MeshScene::Vertex corners[MeshScene::Vertices];
        std::uint16_t order[MeshScene::Indices];
        MeshScene::FillMesh(i, corners, order);
        vertices[i] = MakeBuffer(sizeof corners, VK_BUFFER_USAGE_VERTEX_BUFFER_BIT);
        indices[i] = MakeBuffer(sizeof order, VK_BUFFER_USAGE_INDEX_BUFFER_BIT);
        std::memcpy(vertices[i].bytes, corners, sizeof corners);
        std::memcpy(indices[i].bytes, order, sizeof order);
    }
}

void RawVulkanMeshes::State::MakeLayouts()
{
    const VkDescriptorSetLayoutBinding bindings[] = {
        {0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1, VK_SHADER_STAGE_VERTEX_BIT, nullptr},
        {0, VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, 1, VK_SHADER_STAGE_FRAGMENT_BIT, nullptr}};
    for (int i = 0; i < 2; ++i) {
        VkDescriptorSetLayoutCreateInfo info{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
        info.bindingCount = 1;
        info.pBindings = &bindings[i];
        vkCreateDescriptorSetLayout(device, &info, nullptr, &setLayouts[i]);
    }
    VkPipelineLayoutCreateInfo layoutInfo{VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    layoutInfo.setLayoutCount = 2;
    layoutInfo.pSetLayouts = setLayouts;
    vkCreatePipelineLayout(device, &layoutInfo, nullptr, &layout);
    const VkDescriptorPoolSize sizes[] = {{VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1},
                                          {VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, MeshScene::Textures}};
    VkDescriptorPoolCreateInfo poolInfo{VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
    poolInfo.maxSets = MeshScene::Textures + 1;
    poolInfo.poolSizeCount = 2;
    poolInfo.pPoolSizes = sizes;
    vkCreateDescriptorPool(device, &poolInfo, nullptr, &descriptors);
    const VkSamplerCreateInfo samplerInfo{VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
    vkCreateSampler(device, &samplerInfo, nullptr, &sampler);
    const VkDescriptorBufferInfo buffer{ring.buffer, 0, 64};
    matrixSet = MakeSet(0, &buffer, nullptr);
}

VkDescriptorSet RawVulkanMeshes::State::MakeSet(unsigned kind, const VkDescriptorBufferInfo* buffer,
                                                const VkDescriptorImageInfo* image)
{
    VkDescriptorSetAllocateInfo allocate{VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
    allocate.descriptorPool = descriptors;
    allocate.descriptorSetCount = 1;
    allocate.pSetLayouts = &setLayouts[kind];
    VkWriteDescriptorSet write{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    vkAllocateDescriptorSets(device, &allocate, &write.dstSet);
    write.descriptorCount = 1;
    write.descriptorType =
        buffer ? VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC : VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
    write.pBufferInfo = buffer;
    write.pImageInfo = image;
    vkUpdateDescriptorSets(device, 1, &write, 0, nullptr);
    return write.dstSet;
}

void RawVulkanMeshes::State::MakeTextures()
{
    const Buffer staging = MakeBuffer(TextureBytes * MeshScene::Textures, VK_BUFFER_USAGE_TRANSFER_SRC_BIT);
    Wait();
    BeginCommands();
    for (unsigned i = 0; i < MeshScene::Textures; ++i) {
        std::uint32_t pixels[MeshScene::TextureSide * MeshScene::TextureSide];
        MeshScene::FillTexture(i, pixels);
        std::memcpy(staging.bytes + TextureBytes * i, pixels, sizeof pixels);
        const Image image =
            MakeImage(MeshScene::TextureSide, VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT);
        Barrier(image.image, VK_IMAGE_LAYOUT_UNDEFINED, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 0,
                VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT);
        VkBufferImageCopy copy{};
        copy.bufferOffset = TextureBytes * i;
        copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
        copy.imageExtent = {MeshScene::TextureSide, MeshScene::TextureSide, 1};
        CmdCopyBufferToImage(commands, staging.buffer, image.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
        Barrier(image.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL,
                VK_ACCESS_TRANSFER_WRITE_BIT, VK_ACCESS_SHADER_READ_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT,
                VK_PIPELINE_STAGE_FRAGMENT_SHADER_BIT);
        const VkDescriptorImageInfo info{sampler, image.view, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL};
        textureSets[i] = MakeSet(1, nullptr, &info);
    }
    EndAndSubmit();
    Wait();
}

void RawVulkanMeshes::State::MakeScenePipeline()
{
    const VkVertexInputBindingDescription binding{0, sizeof(MeshScene::Vertex), VK_VERTEX_INPUT_RATE_VERTEX};
    const VkVertexInputAttributeDescription attributes[] = {
        {0, 0, VK_FORMAT_R32G32B32_SFLOAT, offsetof(MeshScene::Vertex, position)},
        {1, 0, VK_FORMAT_R32G32_SFLOAT, offsetof(MeshScene::Vertex, uv)}};
    VkPipelineVertexInputStateCreateInfo input{VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
    input.vertexBindingDescriptionCount = 1;
    input.pVertexBindingDescriptions = &binding;
    input.vertexAttributeDescriptionCount = 2;
    input.pVertexAttributeDescriptions = attributes;
    pipeline = MakePipeline(VertexGlsl, PixelGlsl, input, layout, VK_CULL_MODE_BACK_BIT);
}

void RawVulkanMeshes::State::RecordDraw(unsigned index)
{
    const uint32_t offset = index * MatrixStride;
    float matrix[16];
    MeshScene::FillMatrix(index, matrix);
    std::memcpy(ring.bytes + offset, matrix, sizeof matrix);
    const unsigned mesh = index % MeshScene::Meshes;
    const VkDeviceSize start = 0;
    const VkDescriptorSet sets[] = {matrixSet, textureSets[index % MeshScene::Textures]};
    CmdBindVertexBuffers(commands, 0, 1, &vertices[mesh].buffer, &start);
    CmdBindIndexBuffer(commands, indices[mesh].buffer, 0, VK_INDEX_TYPE_UINT16);
    CmdBindDescriptorSets(commands, VK_PIPELINE_BIND_POINT_GRAPHICS, layout, 0, 2, sets, 1, &offset);
    CmdDrawIndexed(commands, MeshScene::Indices, 1, 0, 0, 0);
}

RawVulkanMeshes::RawVulkanMeshes() : m_state(std::make_unique<State>()) {}

RawVulkanMeshes::~RawVulkanMeshes() = default;

const char* RawVulkanMeshes::Problem() const
{
    return m_state->problem;
}

void RawVulkanMeshes::Frame()
{
    State& vk = *m_state;
    vk.BeginCommands();
    vk.BeginTarget(vk.target, MeshScene::Target);
    vk.CmdBindPipeline(vk.commands, VK_PIPELINE_BIND_POINT_GRAPHICS, vk.pipeline);
    for (unsigned i = 0; i < MeshScene::Draws; ++i)
        vk.RecordDraw(i);
    vk.EndTarget();
    vk.EndAndSubmit();
}

void RawVulkanMeshes::Wait()
{
    m_state->Wait();
}

std::vector<unsigned> RawVulkanMeshes::Pixels()
{
    return m_state->ReadPixels(m_state->target, MeshScene::Target);
}

} // namespace bench
