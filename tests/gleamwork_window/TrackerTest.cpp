// The performance tracker on the software device, and on the null device with answers that the test holds back.
#include "FrameFixture.h"
#include "VtablePatch.h"

#include "Gleamwork/RendererCommandBuffer.h"
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"
#include "gleam_null_device.h"

#include <d3d11.h>

namespace {

using Results = qs::ObjectSet<gw::MeasurementNode>;

const qs::FixedString c_frame = qs::FixedString::Create("frame");
const qs::FixedString c_draw = qs::FixedString::Create("draw");
const qs::FixedString c_inner = qs::FixedString::Create("inner");
const qs::FixedString c_post = qs::FixedString::Create("post");

/// Answers of the device that the test steers.
struct Answers
{
    int ready = 1000; ///< disjoint queries that are answered from now on
    bool isDisjoint = false;
    std::vector<D3D11_QUERY> refused; ///< kinds that cannot be made
};
Answers* s_answers = nullptr;

D3D11_QUERY KindOf(ID3D11Asynchronous* query)
{
    D3D11_QUERY_DESC desc;
    static_cast<ID3D11Query*>(query)->GetDesc(&desc);
    return desc.Query;
}

HRESULT GetData(ID3D11DeviceContext* self, ID3D11Asynchronous* query, void* data, UINT size, UINT flags)
{
    EXPECT_EQ(flags, UINT(D3D11_ASYNC_GETDATA_DONOTFLUSH)); // no read may wait
    const bool isDisjointQuery = KindOf(query) == D3D11_QUERY_TIMESTAMP_DISJOINT;
    if (isDisjointQuery && s_answers->ready-- <= 0) {
        return S_FALSE;
    }
    using Function = HRESULT(ID3D11DeviceContext*, ID3D11Asynchronous*, void*, UINT, UINT);
    const HRESULT hr =
        VtablePatch::Original<Function>(self, &ID3D11DeviceContext::GetData)(self, query, data, size, flags);
    if (isDisjointQuery) {
        static_cast<D3D11_QUERY_DATA_TIMESTAMP_DISJOINT*>(data)->Disjoint = s_answers->isDisjoint;
    }
    return hr;
}

HRESULT CreateQuery(ID3D11Device* self, const D3D11_QUERY_DESC* desc, ID3D11Query** query)
{
    for (const D3D11_QUERY refused : s_answers->refused) {
        if (desc->Query == refused) {
            return E_OUTOFMEMORY;
        }
    }
    using Function = HRESULT(ID3D11Device*, const D3D11_QUERY_DESC*, ID3D11Query**);
    return VtablePatch::Original<Function>(self, &ID3D11Device::CreateQuery)(self, desc, query);
}

class Tracker : public FrameTest
{
protected:
    void StartScripted()
    {
        StartDevice("null");
        s_answers = &m_answers;
        VtablePatch::Replace(Context(), &ID3D11DeviceContext::GetData, GetData);
        VtablePatch::Replace(Device(), &ID3D11Device::CreateQuery, CreateQuery);
    }
    void TearDown() override
    {
        m_tracker.Destroy();
        FrameTest::TearDown();
    }

    ID3D11Device* Device() { return m_api->GetAPIData()->device; }
    ID3D11DeviceContext* Context() { return m_api->GetAPIData()->context; }
    void BeginFrame(const qs::FixedString& name) { m_tracker.BeginFrame(Device(), Context(), name); }
    void EndFrame(const qs::FixedString& name) { m_tracker.EndFrame(Context(), name); }
    void Begin(const qs::FixedString& name) { m_tracker.BeginEvent(Device(), Context(), name); }
    void End(const qs::FixedString& name) { m_tracker.EndEvent(Context(), name); }
    void Frame(const char* name)
    {
        BeginFrame(qs::FixedString::Create(name));
        EndFrame(qs::FixedString::Create(name));
    }
    Results& Take()
    {
        m_results.Clear();
        m_tracker.GetResults(m_results);
        return m_results;
    }
    std::string Names()
    {
        std::string names;
        for (const gw::MeasurementNode& root : Take()) {
            names += root.name.ToChar();
        }
        return names;
    }

    Answers m_answers;
    api::D3D11PerformanceTracker m_tracker;
    Results m_results;
};

TEST_F(Tracker, GivesATreeOfTimesAndCounters)
{
    StartDevice("software");
    const qs::ObjectHandle target = MakeTarget(256, 256);
    m_renderer->SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    for (int i = 0; i < 40 && m_results.IsEmpty(); ++i) {
        BeginFrame(c_frame);
        Begin(c_draw);
        m_renderer->ClearRenderTarget(target, -1, Vector4f(1, 0, 0, 1));
        Begin(c_inner);
        const Vector2f strip[4] = {{0, 0}, {256, 0}, {0, 256}, {256, 256}};
        m_renderer->drawPlain(gw::ePrimitiveTopology_TriangleStrip, strip, 4, gw::Renderer::BS(gw::BS_OPAQUE),
                              gw::Renderer::DS(gw::DS_NONE), Vector4f(0, 1, 0, 1));
        End(c_inner);
        SDL_Delay(2);
        End(c_draw);
        Begin(c_post);
        End(c_post);
        EndFrame(c_frame);
        Context()->Flush();
        Take();
    }
    ASSERT_GE(m_results.GetSize(), 1u);
    const gw::MeasurementNode& root = m_results[0];
    EXPECT_EQ(root.name, c_frame);
    EXPECT_EQ(root.parent, nullptr);
    ASSERT_EQ(root.children.GetSize(), 2u);
    const gw::MeasurementNode& draw = root.children[0];
    EXPECT_EQ(draw.name, c_draw);
    EXPECT_EQ(root.children[1].name, c_post);
    ASSERT_EQ(draw.children.GetSize(), 1u);
    EXPECT_EQ(draw.children[0].name, c_inner);
    EXPECT_EQ(draw.parent, &root); // also after the root moved into the set
    EXPECT_EQ(draw.children[0].parent, &draw);
    EXPECT_GE(draw.cpuTime, 2.0f);
    EXPECT_GE(root.cpuTime, draw.cpuTime);
    EXPECT_GT(root.gpuTime, 0.0f);
    EXPECT_LT(root.gpuTime, 10000.0f);
    EXPECT_GE(root.gpuTime, draw.gpuTime);
    EXPECT_EQ(draw.children[0].statistics.IAVertices, 4u);
    EXPECT_EQ(root.children[1].statistics.IAVertices, 0u);
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->RemoveTexture(target, true, true);
}

TEST_F(Tracker, TheRendererMeasuresWhatItReplays)
{
    Start(EStage::Null);
    MakeFrame(Describe());
    gw::RendererCommandBuffer recorded;
    const auto frame = [&] {
        m_frame->BeginFrame();
        recorded.BeginRenderEvent(c_draw);
        recorded.ClearRenderTarget(m_frame->GetBackBuffer(), -1, Vector4f(1, 0, 0, 1));
        recorded.EndRenderEvent(c_draw);
        gw::DataLoader::InvokeExecuteRCB(&recorded);
        Drain();
        m_frame->EndFrame(true);
        m_results.Clear();
        m_renderer->GetEventResults(m_results);
    };
    frame();
    EXPECT_TRUE(m_results.IsEmpty()); // nobody measures unless asked
    m_renderer->SetPerformanceTracker(&m_tracker);
    frame();
    ASSERT_EQ(m_results.GetSize(), 1u);
    ASSERT_EQ(m_results[0].children.GetSize(), 1u);
    EXPECT_EQ(m_results[0].children[0].name, c_draw);
    m_renderer->SetPerformanceTracker(nullptr);
    frame();
    EXPECT_TRUE(m_results.IsEmpty());
    ExpectQuiet();
}

TEST_F(Tracker, FramesComeOutInOrderHoweverLate)
{
    StartScripted();
    m_answers.ready = 0;
    for (const char* name : {"1", "2", "3"}) {
        Frame(name);
    }
    EXPECT_EQ(Names(), "");
    m_answers.ready = 2; // two frames are in; the others wait for them and for their turn
    Frame("4");
    EXPECT_EQ(Names(), "12");
    m_answers.ready = 1;
    Frame("5");
    EXPECT_EQ(Names(), "3");
    m_answers.ready = 100;
    m_answers.isDisjoint = true; // disturbed times are dropped, all three
    Frame("6");
    EXPECT_EQ(Names(), "");
    m_answers.isDisjoint = false;
    Frame("7");
    EXPECT_EQ(Names(), "7");
}

TEST_F(Tracker, TheSteadyStateCreatesNoQuery)
{
    StartScripted();
    const auto frame = [&] {
        BeginFrame(c_frame);
        for (int i = 0; i < 5; ++i) {
            Begin(c_draw);
            Begin(c_inner);
            End(c_inner);
            End(c_draw);
        }
        EndFrame(c_frame);
        Take();
    };
    for (int i = 0; i < 4; ++i) {
        m_answers.ready = i % 2; // some frames in flight
        frame();
    }
    GleamNullResetCalls();
    for (int i = 0; i < 50; ++i) {
        m_answers.ready = 100;
        m_answers.isDisjoint = i % 3 == 0;
        frame();
    }
    EXPECT_EQ(GleamNullCallCountOf("CreateQuery"), 0u);
}

TEST_F(Tracker, MisuseIsToldAndGoesOn)
{
    StartScripted();
    Begin(c_draw);
    End(c_draw);
    ExpectQuiet(); // outside a frame nothing happens
    EndFrame(c_frame);
    ExpectAssert("Calling EndFrame, but no frame is pending?");
    BeginFrame(c_frame);
    Begin(c_draw);
    End(c_post);
    ExpectAssert("EndEvent not called in pairs! draw != post");
    EndFrame(c_post);
    ExpectAssert("EndFrame called on the wrong frame! frame != post");
    BeginFrame(c_frame);
    Begin(c_draw);
    EndFrame(c_frame);
    ExpectAssert("At this point, the current query should be the root query, but it's not!");
    Take();
    for (int i = 0; i < 64; ++i) {
        Frame("f");
    }
    ExpectQuiet();
    Frame("f");
    ExpectAssert("Frame results queue is growing larger than 64 (65).");
    EXPECT_EQ(Take().GetSize(), 65u);
}

TEST_F(Tracker, QueriesThatCannotBeMadeAreLeftOut)
{
    StartScripted();
    m_answers.refused = {D3D11_QUERY_PIPELINE_STATISTICS};
    BeginFrame(c_frame);
    ExpectAssert("ID3D11Device::CreateQuery failed!\nError: E_OUTOFMEMORY\nDescription: ");
    EndFrame(c_frame);
    ASSERT_EQ(Take().GetSize(), 1u);
    EXPECT_EQ(m_results[0].statistics.IAVertices, 0u);
    m_tracker.Destroy();
    m_answers.refused = {D3D11_QUERY_TIMESTAMP_DISJOINT};
    BeginFrame(c_frame);
    ExpectAssert("ID3D11Device::CreateQuery failed!");
    EndFrame(c_frame); // no frame began
    ExpectAssert("no frame is pending?");
    m_answers.refused.clear();
    Frame("later");
    EXPECT_EQ(Names(), "later");
}

TEST(FrameQueryRing, KeepsItsOrderWhileItGrows)
{
    std::array<api::FrameQuery, 12> frames;
    api::FrameQueryRing ring;
    EXPECT_EQ(ring.GetCapacity(), 1u);
    std::size_t pushed = 0;
    std::size_t popped = 0;
    // The front is not at the start of the storage at two of the growths.
    for (const char step : std::string("++-+++--+++++-+-------")) {
        if (step == '+') {
            ring.Push(&frames[pushed++]);
            EXPECT_EQ(ring.GetNewest(), &frames[pushed - 1]);
        } else {
            EXPECT_EQ(ring.GetOldest(), &frames[popped++]);
            ring.Pop();
        }
        EXPECT_EQ(ring.GetCount(), pushed - popped);
    }
    EXPECT_TRUE(ring.IsEmpty());
    EXPECT_EQ(ring.GetCapacity(), 8u);
}

} // namespace
