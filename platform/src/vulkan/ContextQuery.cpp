// Life of the context, queries, labels and submission.
#include <algorithm>
#include <cstring>

#include "common/DebugOutput.h"
#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {

Context::Context(VulkanDevice& device, ID3D11Device* published)
    : DeviceChild(published), m_owner(device), m_gpu(device.gpu), m_vk(device.gpu.vk),
      m_stream(device.gpu, device.uploads), m_pipelines(device.gpu, device.deadShaders),
      m_queries(device.gpu, m_stream, device.segments), m_annotation(*this), m_defaultSampler(device.DefaultSampler()),
      m_markers(DebugSwitch("markers"))
{
}

Context::~Context()
{
    m_vk.DeviceWaitIdle(m_gpu.device);
    for (PendingClear& clear : m_clears) {
        DropClear(clear);
    }
    ClearState();
    if (m_zeros) {
        m_gpu.slices.Release(m_zeros);
    }
}

void Context::Destroy()
{
    delete this;
}

HRESULT Context::QueryInterface(REFIID riid, void** object)
{
    if (object && riid == IID_ID3DUserDefinedAnnotation) {
        AddRef();
        *object = static_cast<ID3DUserDefinedAnnotation*>(&m_annotation);
        return S_OK;
    }
    return DeviceChild::QueryInterface(riid, object);
}

void Context::BeforeSubmit()
{
    EndPass();
    RecordBarriers();
    const VkCommandBuffer commands = m_stream.Main();
    m_queries.Close();
    // A label may end behind its submission, but drivers keep the stack per command buffer and do not look whether it
    // is empty (Mesa 22 writes below it). So each command buffer is left balanced.
    for (; m_openLabels > 0; --m_openLabels) {
        m_gpu.InstanceVk().CmdEndDebugUtilsLabelEXT(commands);
    }
    if (std::exchange(m_hostReads, false)) {
        BarrierBatch barriers;
        barriers.AddMemory(
            {VK_PIPELINE_STAGE_2_ALL_COMMANDS_BIT, VK_ACCESS_2_MEMORY_WRITE_BIT, VK_IMAGE_LAYOUT_UNDEFINED},
            access::HostRead);
        barriers.Record(m_vk, commands);
    }
}

void Context::AfterSubmit()
{
    // Command buffers start without state, and sets go with their submission.
    m_dirty = DirtyAll;
    m_dirtySets = ~0u;
    m_pipeline = VK_NULL_HANDLE;
    m_program = nullptr;
    m_setsProgram = nullptr;
    for (StageBindings& bindings : m_state.stages) {
        bindings.set = VK_NULL_HANDLE;
    }
    m_pipelines.ForgetDead();
}

void Context::Submit(const QueueSync* sync)
{
    if (!sync && !m_stream.HasWork() && m_clears.empty()) {
        return;
    }
    try {
        FlushClears();
    } catch (const VulkanError&) {
        AfterSubmit();
        throw;
    }
    SubmitRecorded(sync);
}

void Context::SubmitFrame(const QueueSync& sync)
{
    // Colour, depth and stencil of a frame. Any number could keep alive what nobody else holds any more.
    constexpr std::size_t mostWaiting = 3;
    if (m_clears.size() > mostWaiting) {
        Submit(&sync);
    } else {
        SubmitRecorded(&sync);
    }
}

void Context::SubmitRecorded(const QueueSync* sync)
{
    try {
        BeforeSubmit();
        m_stream.Submit(sync);
    } catch (const VulkanError&) {
        AfterSubmit();
        throw;
    }
    AfterSubmit();
}

void Context::Flush()
{
    try {
        Submit();
        m_stream.Recycle();
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::Flush");
    }
}

void Context::Begin(ID3D11Asynchronous* object)
{
    auto* query = static_cast<Query*>(object);
    if (!query || m_gpu.IsLost()) {
        return;
    }
    if (!query->HasBegin()) {
        Refuse(E_INVALIDARG, "ID3D11DeviceContext::Begin", "event and timestamp queries only end");
        return;
    }
    try {
        if (query->isActive) {
            // As published, a second Begin starts over.
            End(query);
        }
        if (query->Kind() == D3D11_QUERY_TIMESTAMP_DISJOINT) {
            query->isActive = true;
            query->isEnded = false;
            return;
        }
        m_queries.Begin(*query);
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::Begin");
    }
}

void Context::End(ID3D11Asynchronous* object)
{
    auto* query = static_cast<Query*>(object);
    if (!query || m_gpu.IsLost()) {
        return;
    }
    if (query->HasBegin() && !query->isActive) {
        Refuse(E_INVALIDARG, "ID3D11DeviceContext::End", "the query has not begun");
        return;
    }
    try {
        if (query->Kind() == D3D11_QUERY_TIMESTAMP) {
            // Clears that wait belong in front of the time that is taken.
            FlushClears();
            m_queries.WriteTimestamp(*query);
        } else if (query->HasBegin() && query->Kind() != D3D11_QUERY_TIMESTAMP_DISJOINT) {
            m_queries.End(*query);
        }
        const bool hasWork = m_stream.HasWork() || !m_clears.empty();
        query->isActive = false;
        query->isEnded = true;
        query->endSerial = hasWork ? m_stream.Serial() : m_stream.Serial() - 1;
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::End");
    }
}

HRESULT Context::GetData(ID3D11Asynchronous* object, void* data, UINT size, UINT flags)
{
    const char* call = "ID3D11DeviceContext::GetData";
    auto* query = static_cast<Query*>(object);
    if (!query) {
        return Refuse(E_INVALIDARG, call, "no query is given");
    }
    if (data && size != query->GetDataSize()) {
        return Refuse(E_INVALIDARG, call, "the size is %u bytes, the query gives %u", size, query->GetDataSize());
    }
    if (query->isActive || !query->isEnded) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the query has not ended");
    }
    if (m_gpu.IsLost()) {
        return DXGI_ERROR_DEVICE_REMOVED;
    }
    try {
        if (query->endSerial >= m_stream.Serial() && !(flags & D3D11_ASYNC_GETDATA_DONOTFLUSH)) {
            Submit();
        }
        if (query->endSerial > m_gpu.CompletedSerial() && query->endSerial > m_gpu.UpdateCompleted()) {
            return m_gpu.IsLost() ? DXGI_ERROR_DEVICE_REMOVED : S_FALSE;
        }
        if (m_gpu.IsLost()) {
            return DXGI_ERROR_DEVICE_REMOVED;
        }
        if (data) {
            query->Read(m_gpu, data, size);
        }
        return S_OK;
    } catch (const VulkanError& error) {
        return m_gpu.Report(error, call);
    }
}

namespace {

// WCHAR holds one whole code point here.
std::string ToUtf8(LPCWSTR text)
{
    std::string utf8;
    for (; text && *text; ++text) {
        const auto code = static_cast<std::uint32_t>(*text);
        if (code < 0x80) {
            utf8 += static_cast<char>(code);
        } else if (code < 0x800) {
            utf8 += static_cast<char>(0xc0 | code >> 6);
            utf8 += static_cast<char>(0x80 | (code & 0x3f));
        } else if (code < 0x10000) {
            utf8 += static_cast<char>(0xe0 | code >> 12);
            utf8 += static_cast<char>(0x80 | (code >> 6 & 0x3f));
            utf8 += static_cast<char>(0x80 | (code & 0x3f));
        } else {
            utf8 += static_cast<char>(0xf0 | (code >> 18 & 7));
            utf8 += static_cast<char>(0x80 | (code >> 12 & 0x3f));
            utf8 += static_cast<char>(0x80 | (code >> 6 & 0x3f));
            utf8 += static_cast<char>(0x80 | (code & 0x3f));
        }
    }
    return utf8;
}

} // namespace

bool Context::LabelsReachAnybody() const
{
    return m_markers || m_gpu.HasDebugUtils();
}

INT Context::BeginLabel(LPCWSTR name)
{
    if (!LabelsReachAnybody() || m_gpu.IsLost()) {
        return -1;
    }
    const std::string text = ToUtf8(name);
    if (m_markers) {
        DebugLine("marker %*s> %s", m_labelDepth * 2, "", text.c_str());
    }
    if (m_gpu.HasDebugUtils()) {
        VkDebugUtilsLabelEXT label{VK_STRUCTURE_TYPE_DEBUG_UTILS_LABEL_EXT};
        label.pLabelName = text.c_str();
        m_gpu.InstanceVk().CmdBeginDebugUtilsLabelEXT(m_stream.Marks(), &label);
        ++m_openLabels;
    }
    return m_labelDepth++;
}

INT Context::EndLabel()
{
    if (!LabelsReachAnybody() || m_gpu.IsLost()) {
        return -1;
    }
    if (m_labelDepth == 0) {
        return -2;
    }
    --m_labelDepth;
    if (m_openLabels > 0) {
        m_gpu.InstanceVk().CmdEndDebugUtilsLabelEXT(m_stream.Marks());
        --m_openLabels;
    }
    return m_labelDepth;
}

void Context::SetLabel(LPCWSTR name)
{
    if (!LabelsReachAnybody() || m_gpu.IsLost()) {
        return;
    }
    const std::string text = ToUtf8(name);
    if (m_markers) {
        DebugLine("marker %*s- %s", m_labelDepth * 2, "", text.c_str());
    }
    if (m_gpu.HasDebugUtils()) {
        VkDebugUtilsLabelEXT label{VK_STRUCTURE_TYPE_DEBUG_UTILS_LABEL_EXT};
        label.pLabelName = text.c_str();
        m_gpu.InstanceVk().CmdInsertDebugUtilsLabelEXT(m_stream.Marks(), &label);
    }
}

HRESULT Annotation::QueryInterface(REFIID riid, void** object)
{
    return m_context.QueryInterface(riid, object);
}

ULONG Annotation::AddRef()
{
    return m_context.AddRef();
}

ULONG Annotation::Release()
{
    return m_context.Release();
}

INT Annotation::BeginEvent(LPCWSTR name)
{
    return m_context.BeginLabel(name);
}

INT Annotation::EndEvent()
{
    return m_context.EndLabel();
}

void Annotation::SetMarker(LPCWSTR name)
{
    m_context.SetLabel(name);
}

BOOL Annotation::GetStatus()
{
    return m_context.LabelsReachAnybody();
}

} // namespace gleam
