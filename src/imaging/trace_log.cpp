/// The trace log: one line a call, into a file that is opened anew each time so that it can be moved away at will.
#include <atomic>
#include <cstring>
#include <mutex>
#include <string>

#include <kyimaging/functracelog.h>
#include <kyimaging/kyimaging.h>

#include "platform/log_file.h"
#include "platform/text.h"

namespace kyi {

namespace {

std::atomic<bool> g_isPuttingTraceLog{false};

std::mutex g_traceFolderGuard;
std::string g_traceFolder; // empty: nowhere

std::string LogPath() {
    const std::lock_guard guard(g_traceFolderGuard);
    if (g_traceFolder.empty()) return {};
    return g_traceFolder + (g_traceFolder.back() == '/' ? "kyimaging.log" : "/kyimaging.log");
}

const char* LastPart(const char* path) noexcept {
    if (!path) return "";
    for (const char* c = path; *c; ++c)
        if (*c == '/' || *c == '\\') path = c + 1;
    return path;
}

// A text may come from a file's name: it must not be able to look like a line of its own.
void FlattenControls(std::string& line) noexcept {
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
}

/// Null texts are left out.
void AppendText(std::wstring& text, const wchar_t* more) {
    if (more) text += more;
}

void PutLine(const char* sourceFile, int32_t line, const std::wstring& text) {
    const std::string path = LogPath();
    if (path.empty()) return;
    std::string whole = platform::LogStamp() + ' ' + LastPart(sourceFile) + '(' + std::to_string(line) + ") ";
    whole += platform::ToUtf8(text);
    FlattenControls(whole);
    platform::AppendToLogFile(path, whole + '\n');
}

/// Calls what makes a line. Out of memory costs the line and nothing else.
template <typename Put> void Guarded(const Put& put) noexcept {
    try {
        put();
    } catch (...) {
        // Nobody to tell: this is the log.
    }
}

bool IsOn() noexcept { return g_isPuttingTraceLog.load(std::memory_order_relaxed); }

void PutMethodLine(const char* sourceFile, int32_t line, const wchar_t* mark, const wchar_t* className,
                   const wchar_t* method, const wchar_t* result) {
    std::wstring text = mark;
    AppendText(text, className);
    if (className) text += L"::";
    AppendText(text, method);
    if (result) text += L": ";
    AppendText(text, result);
    PutLine(sourceFile, line, text);
}

} // namespace

} // namespace kyi

void KyiSetPuttingTraceLog(KyiBool on) { kyi::g_isPuttingTraceLog.store(on != 0, std::memory_order_relaxed); }

KyiBool KyiIsPuttingTraceLog(void) { return kyi::IsOn(); }

void KyiSetTraceLogFolder(const wchar_t* folder) {
    kyi::Guarded([&] {
        std::string path = folder ? platform::ToUtf8(folder) : std::string();
        const std::lock_guard guard(kyi::g_traceFolderGuard);
        kyi::g_traceFolder.swap(path);
    });
}

void KyiPutTraceLog(const char* sourceFile, int32_t line, const wchar_t* text, int32_t) {
    if (!kyi::IsOn()) return;
    kyi::Guarded([&] { kyi::PutLine(sourceFile, line, text ? text : L""); });
}

void KyiPutBeginMethodLog(const char* sourceFile, int32_t line, const wchar_t* method, int32_t) {
    if (!kyi::IsOn()) return;
    kyi::Guarded([&] { kyi::PutMethodLine(sourceFile, line, L"Begin ", nullptr, method, nullptr); });
}

void KyiPutEndMethodLog(const char* sourceFile, int32_t line, const wchar_t* method, const wchar_t* result) {
    if (!kyi::IsOn()) return;
    kyi::Guarded([&] { kyi::PutMethodLine(sourceFile, line, L"End ", nullptr, method, result); });
}

CFuncTraceLog::CFuncTraceLog(const char* sourceFile, int32_t line, const wchar_t* className, const wchar_t* method,
                             int32_t)
    : m_sourceFile(sourceFile), m_line(line), m_className(className), m_method(method), m_isOn(kyi::IsOn()) {
    if (!m_isOn) return;
    kyi::Guarded([&] { kyi::PutMethodLine(m_sourceFile, m_line, L"Begin ", m_className, m_method, nullptr); });
}

CFuncTraceLog::CFuncTraceLog(const char* sourceFile, int32_t line, const wchar_t* method, int32_t flag)
    : CFuncTraceLog(sourceFile, line, nullptr, method, flag) {}

CFuncTraceLog::~CFuncTraceLog() {
    if (!m_isOn) return;
    kyi::Guarded([&] { kyi::PutMethodLine(m_sourceFile, m_line, L"End ", m_className, m_method, nullptr); });
}

void CFuncTraceLog::Trace(const char* sourceFile, int32_t line, const wchar_t* text1, const wchar_t* text2,
                          const wchar_t* text3) const {
    if (!kyi::IsOn()) return;
    kyi::Guarded([&] {
        std::wstring text;
        for (const wchar_t* const part : {text1, text2, text3}) kyi::AppendText(text, part);
        kyi::PutLine(sourceFile, line, text);
    });
}
