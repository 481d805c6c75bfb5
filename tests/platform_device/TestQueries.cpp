// Queries: overlapping, over passes and over submissions.
#include <unistd.h>

#include "DeviceKit.h"

class Queries : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
        target = Target(texture.Get());
        SetTarget(target.Get(), 8, 8);
        white = Pixel("float4 main() : SV_Target { return 1; }");
    }

    ComPtr<ID3D11Query> Make(D3D11_QUERY kind)
    {
        const D3D11_QUERY_DESC desc{kind, 0};
        ComPtr<ID3D11Query> query;
        EXPECT_EQ(S_OK, device->CreateQuery(&desc, query.Put()));
        return query;
    }

    template <class T>
    T Get(ID3D11Query* query)
    {
        T data{};
        HRESULT result = S_FALSE;
        for (int i = 0; i < 2000 && result == S_FALSE; ++i) {
            result = context->GetData(query, &data, sizeof data, 0);
            usleep(1000);
        }
        EXPECT_EQ(S_OK, result);
        return data;
    }

    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> target;
    ComPtr<ID3D11PixelShader> white;
};

TEST_F(Queries, CountsNestAndSpanPassesAndSubmissions)
{
    const auto outer = Make(D3D11_QUERY_PIPELINE_STATISTICS), inner = Make(D3D11_QUERY_PIPELINE_STATISTICS);
    const auto pixels = Make(D3D11_QUERY_OCCLUSION), none = Make(D3D11_QUERY_OCCLUSION_PREDICATE);
    const auto other = Target(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8).Get());
    for (int round = 0; round < 2; ++round) {
        context->Begin(outer.Get());
        context->Begin(pixels.Get());
        Fill(white.Get());
        context->Begin(inner.Get());
        Fill(white.Get());
        SetTarget(other.Get(), 8, 4);
        Fill(white.Get());
        context->End(inner.Get());
        context->Flush();
        Fill(white.Get());
        context->End(pixels.Get());
        context->Begin(none.Get());
        context->End(none.Get());
        SetTarget(target.Get(), 8, 8);
        Fill(white.Get());
        context->End(outer.Get());
        const auto all = Get<D3D11_QUERY_DATA_PIPELINE_STATISTICS>(outer.Get());
        const auto part = Get<D3D11_QUERY_DATA_PIPELINE_STATISTICS>(inner.Get());
        EXPECT_EQ(15u, all.IAVertices);
        EXPECT_EQ(5u, all.IAPrimitives);
        EXPECT_EQ(6u, part.IAVertices);
        EXPECT_EQ(2u, part.IAPrimitives);
        EXPECT_GE(part.PSInvocations, 96u);
        EXPECT_EQ(64u + 64 + 32 + 32, Get<UINT64>(pixels.Get()));
        EXPECT_EQ(FALSE, Get<BOOL>(none.Get()));
    }
}

// As many events of a frame do: one begins where the last ended, and some hold nothing.
TEST_F(Queries, NeighboursShareTheirBoundsAndNotTheirCounts)
{
    constexpr D3D11_QUERY statistics = D3D11_QUERY_PIPELINE_STATISTICS;
    struct Event
    {
        ComPtr<ID3D11Query> counts, start, end;
    };
    const auto outer = Make(statistics);
    Event events[4];
    for (int round = 0; round < 2; ++round) {
        context->Begin(outer.Get());
        for (int i = 0; i < 4; ++i) {
            if (round == 0) {
                events[i] = {Make(statistics), Make(D3D11_QUERY_TIMESTAMP), Make(D3D11_QUERY_TIMESTAMP)};
            }
            context->Begin(events[i].counts.Get());
            context->End(events[i].start.Get());
            for (int draw = 0; draw < i; ++draw) {
                Fill(white.Get());
            }
            if (i == 2) {
                context->Flush();
            }
            context->End(events[i].end.Get());
            context->End(events[i].counts.Get());
        }
        Fill(white.Get());
        context->End(outer.Get());
        UINT64 last = 0;
        for (UINT64 i = 0; i < 4; ++i) {
            EXPECT_EQ(3 * i, Get<D3D11_QUERY_DATA_PIPELINE_STATISTICS>(events[i].counts.Get()).IAVertices) << i;
            const UINT64 start = Get<UINT64>(events[i].start.Get());
            const UINT64 end = Get<UINT64>(events[i].end.Get());
            EXPECT_LE(last, start) << i;
            EXPECT_EQ(i == 0, start == end) << i;
            EXPECT_LE(start, end) << i;
            last = end;
        }
        EXPECT_EQ(21u, Get<D3D11_QUERY_DATA_PIPELINE_STATISTICS>(outer.Get()).IAVertices);
    }
}

TEST_F(Queries, TimesRunForwardsAndEventsFollowTheWork)
{
    const auto disjoint = Make(D3D11_QUERY_TIMESTAMP_DISJOINT), first = Make(D3D11_QUERY_TIMESTAMP);
    const auto second = Make(D3D11_QUERY_TIMESTAMP), done = Make(D3D11_QUERY_EVENT);
    context->Begin(disjoint.Get());
    context->End(first.Get());
    Fill(white.Get());
    context->End(second.Get());
    context->End(disjoint.Get());
    context->End(done.Get());
    D3D11_QUERY_DATA_TIMESTAMP_DISJOINT none{};
    EXPECT_EQ(S_FALSE, context->GetData(disjoint.Get(), &none, sizeof none, D3D11_ASYNC_GETDATA_DONOTFLUSH))
        << "nothing is sent yet";
    const auto answer = Get<D3D11_QUERY_DATA_TIMESTAMP_DISJOINT>(disjoint.Get());
    EXPECT_FALSE(answer.Disjoint);
    EXPECT_GT(answer.Frequency, 1000u);
    EXPECT_TRUE(Get<BOOL>(done.Get()));
    EXPECT_LT(Get<UINT64>(first.Get()), Get<UINT64>(second.Get()));
    EXPECT_EQ(S_OK, context->GetData(done.Get(), nullptr, 0, 0));
}

TEST_F(Queries, MisuseIsRefused)
{
    const auto time = Make(D3D11_QUERY_TIMESTAMP), pixels = Make(D3D11_QUERY_OCCLUSION);
    UINT64 data = 0;
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, context->GetData(pixels.Get(), &data, sizeof data, 0));
    context->Begin(time.Get());
    context->End(pixels.Get());
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, context->GetData(pixels.Get(), &data, sizeof data, 0));
    context->End(time.Get());
    EXPECT_EQ(E_INVALIDARG, context->GetData(time.Get(), &data, 4, 0));
    // An active query that is let go of is no use to anybody, and harms nobody.
    auto active = Make(D3D11_QUERY_OCCLUSION);
    context->Begin(active.Get());
    active = nullptr;
    Fill(white.Get());
    EXPECT_EQ(0xffffffffu, ReadColor(texture.Get()));
}
