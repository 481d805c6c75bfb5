// The layouts that reflection reports, seen from the other side: code that runs on a device reads the words there.
#include <bit>
#include <cstring>

#include "ShaderKit.h"
#include "d3d11.h"
#include "vulkan/ValidationLog.h"

namespace {

constexpr UINT InputWords = 256;

/// A structured, byte-address or constant buffer filled with the numbers of its words as floats.
Owned<ID3D11Buffer> NumberedBuffer(ID3D11Device* device, UINT bind, UINT misc, UINT stride)
{
    std::vector<float> numbers(InputWords);
    for (UINT i = 0; i < InputWords; ++i)
        numbers[i] = static_cast<float>(i);
    D3D11_BUFFER_DESC desc{};
    desc.ByteWidth = InputWords * 4 / (stride ? stride : 4) * (stride ? stride : 4);
    desc.BindFlags = bind;
    desc.MiscFlags = misc;
    desc.StructureByteStride = stride;
    D3D11_SUBRESOURCE_DATA data{};
    data.pSysMem = numbers.data();
    ID3D11Buffer* buffer = nullptr;
    EXPECT_EQ(device->CreateBuffer(&desc, &data, &buffer), S_OK);
    return Owned<ID3D11Buffer>(buffer);
}

class ShaderOnDevice : public testing::Test
{
protected:
    void SetUp() override
    {
        ID3D11Device* device = nullptr;
        ID3D11DeviceContext* context = nullptr;
        ASSERT_EQ(D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, nullptr, 0, D3D11_SDK_VERSION,
                                    &device, nullptr, &context),
                  S_OK);
        m_device.reset(device);
        m_context.reset(context);
    }

    void TearDown() override
    {
        std::string messages(4096, '\0');
        EXPECT_EQ(GleamPlatformTakeValidationMessages(messages.data(), 4096), 0u) << messages.c_str();
    }

    /// Runs one thread of the text with numbered buffers at b0 and t0 (`stride` bytes an element) and gives the first
    /// words of the byte-address buffer at u0 as numbers.
    std::vector<float> Run(const std::string& text, UINT stride, UINT words)
    {
        const Compiled compiled = Compile(text, "cs_5_0");
        EXPECT_EQ(compiled.result, S_OK) << compiled.messages;
        if (!compiled.code)
            return {};
        ID3D11ComputeShader* shader = nullptr;
        EXPECT_EQ(m_device->CreateComputeShader(compiled.code->GetBufferPointer(), compiled.code->GetBufferSize(),
                                                nullptr, &shader),
                  S_OK);
        const Owned<ID3D11ComputeShader> ownedShader(shader);
        Bind(stride);
        const Owned<ID3D11Buffer> output = BindOutput();
        m_context->CSSetShader(shader, nullptr, 0);
        m_context->Dispatch(1, 1, 1);
        return Read(output.get(), words);
    }

private:
    void Bind(UINT stride)
    {
        m_constants = NumberedBuffer(m_device.get(), D3D11_BIND_CONSTANT_BUFFER, 0, 0);
        ID3D11Buffer* constants = m_constants.get();
        m_context->CSSetConstantBuffers(0, 1, &constants);
        m_elements =
            NumberedBuffer(m_device.get(), D3D11_BIND_SHADER_RESOURCE, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED, stride);
        ID3D11ShaderResourceView* view = nullptr;
        EXPECT_EQ(m_device->CreateShaderResourceView(m_elements.get(), nullptr, &view), S_OK);
        m_view.reset(view);
        m_context->CSSetShaderResources(0, 1, &view);
    }

    Owned<ID3D11Buffer> BindOutput()
    {
        Owned<ID3D11Buffer> output =
            NumberedBuffer(m_device.get(), D3D11_BIND_UNORDERED_ACCESS, D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS, 0);
        D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
        desc.Format = DXGI_FORMAT_R32_TYPELESS;
        desc.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
        desc.Buffer.NumElements = InputWords;
        desc.Buffer.Flags = D3D11_BUFFER_UAV_FLAG_RAW;
        ID3D11UnorderedAccessView* view = nullptr;
        EXPECT_EQ(m_device->CreateUnorderedAccessView(output.get(), &desc, &view), S_OK);
        m_outputView.reset(view);
        m_context->CSSetUnorderedAccessViews(0, 1, &view, nullptr);
        return output;
    }

    std::vector<float> Read(ID3D11Buffer* buffer, UINT words)
    {
        D3D11_BUFFER_DESC desc{};
        buffer->GetDesc(&desc);
        desc.Usage = D3D11_USAGE_STAGING;
        desc.BindFlags = 0;
        desc.MiscFlags = 0;
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
        ID3D11Buffer* staging = nullptr;
        EXPECT_EQ(m_device->CreateBuffer(&desc, nullptr, &staging), S_OK);
        const Owned<ID3D11Buffer> owned(staging);
        m_context->CopyResource(staging, buffer);
        D3D11_MAPPED_SUBRESOURCE mapped{};
        EXPECT_EQ(m_context->Map(staging, 0, D3D11_MAP_READ, 0, &mapped), S_OK);
        std::vector<float> values(words);
        std::memcpy(values.data(), mapped.pData, words * sizeof(float));
        m_context->Unmap(staging, 0);
        return values;
    }

    Owned<ID3D11Device> m_device;
    Owned<ID3D11DeviceContext> m_context;
    Owned<ID3D11Buffer> m_constants;
    Owned<ID3D11Buffer> m_elements;
    Owned<ID3D11ShaderResourceView> m_view;
    Owned<ID3D11UnorderedAccessView> m_outputView;
};

/// Stores each expression in turn.
std::string StoreAll(const std::vector<std::string>& expressions)
{
    std::string text = "RWByteAddressBuffer o; [numthreads(1, 1, 1)] void main() { int one = o.Load(1020) ? 1 : 0;\n";
    for (std::size_t i = 0; i < expressions.size(); ++i)
        text += "o.Store(" + std::to_string(i * 4) + ", asuint(" + expressions[i] + "));\n";
    return text + "}";
}

} // namespace

TEST_F(ShaderOnDevice, ConstantsAreReadWhereTheRulesPutThem)
{
    // `one` is 1, but only at run time: indices are computed as well as constant.
    const std::vector<std::pair<std::string, float>> reads = {
        {"f[2]", 8},
        {"f[one]", 4},
        {"g", 9},
        {"c[2][3]", 12 + 14},
        {"c[one][2]", 12 + 9},
        {"x", 27},
        {"s[1][2]", 34},
        {"s[one].y", 33},
        {"z", 35},
        {"t[1].i[1].u.y", 65},
        {"t[one].i[one].u.x", 64},
        {"t[0].r[1][2]", 54},
        {"t[1].r[one].x", 72},
        {"tail.y", 77},
        {"last[3][2]", 91},
        {"mul(float4(0, 0, 0, 1), last).y", 87},
        {"mul(c, float4(1, 0, 0, 0)).z", 14},
        // Whole matrices and structures, whose rows the code puts together again.
        {"mul(s, float3(0, 1, 0)).y", 33},
        {"whole(t[one]).z", 74},
        {"k[1][1][2]", 106},
        {"mul(k[one], float3(0, 0, 1)).x", 102},
        {"copied(one)", 104},
        {"kt", 107},
    };
    std::vector<std::string> expressions;
    for (const auto& [expression, word] : reads)
        expressions.push_back(expression);
    const std::vector<float> values =
        Run("struct I { float2 u; }; struct S { float a; I i[2]; float f; row_major float2x3 r; };"
            "cbuffer B { float f[3]; float g; float3x4 c; float x; row_major float2x3 s; float z; S t[2]; float2 tail;"
            "float4x3 last; row_major float2x3 k[2]; float kt; }\n"
            "float3 whole(S v) { return v.r[1]; }\n"
            "float copied(int i) { float2x3 all[2] = k; return all[i][1][0]; }\n" +
                StoreAll(expressions),
            4, static_cast<UINT>(reads.size()));
    ASSERT_EQ(values.size(), reads.size());
    for (std::size_t i = 0; i < reads.size(); ++i)
        EXPECT_EQ(values[i], reads[i].second) << reads[i].first;
}

TEST_F(ShaderOnDevice, StructuredElementsAreReadTightly)
{
    const std::vector<std::pair<std::string, float>> reads = {
        {"e[1].p.z", 22},      {"e[1].w[2]", 25},    {"e[one].w[one]", 24},   {"e[1].m[1][2]", 31},
        {"e[1].m[one].x", 27}, {"e[1].r[1][2]", 37}, {"e[one].r[one].y", 36}, {"e[2].i.y", 59}};
    std::vector<std::string> expressions;
    for (const auto& [expression, word] : reads)
        expressions.push_back(expression);
    const std::vector<float> values =
        Run("struct P { float3 p; float w[3]; float2x3 m; row_major float2x3 r; float2 i; };"
            "StructuredBuffer<P> e;\n" +
                StoreAll(expressions),
            80, static_cast<UINT>(reads.size()));
    ASSERT_EQ(values.size(), reads.size());
    for (std::size_t i = 0; i < reads.size(); ++i)
        EXPECT_EQ(values[i], reads[i].second) << reads[i].first;
}
