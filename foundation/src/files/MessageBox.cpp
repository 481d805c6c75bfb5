// Message boxes through a handler that can be replaced.
#include <qs/MessageBox.h>

#include <cstdio>
#include <mutex>

#include <qs/String.h>

namespace {

void WriteToErrorStream(const char* title, const char* text, QsMessageType, void*)
{
    std::fprintf(stderr, "%s\n%s\n", title, text);
    std::fflush(stderr);
}

struct Handler
{
    QsMessageBoxHandler function = WriteToErrorStream;
    void* context = nullptr;
};

constinit std::mutex handlerLock;
constinit Handler currentHandler;

} // namespace

void qsSetMessageBoxHandler(QsMessageBoxHandler handler, void* context)
{
    std::lock_guard lock(handlerLock);
    currentHandler = handler ? Handler{handler, context} : Handler{};
}

void qsMessageBox(const char* title, const char* text, QsMessageType type)
{
    Handler handler;
    {
        std::lock_guard lock(handlerLock);
        handler = currentHandler;
    }
    handler.function(title ? title : "", text ? text : "", type, handler.context);
}

void qsMessageBox(const wchar_t* title, const wchar_t* text, QsMessageType type)
{
    const qs::Localization::ConvertWideToMultiByte narrowTitle(title ? title : L"", -1);
    const qs::Localization::ConvertWideToMultiByte narrowText(text ? text : L"", -1);
    qsMessageBox(narrowTitle.Get(), narrowText.Get(), type);
}
