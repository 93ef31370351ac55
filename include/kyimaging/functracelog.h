/// Scope guard of the trace log: a method's entry and exit, and lines in between.
#ifndef KYIMAGING_FUNCTRACELOG_H
#define KYIMAGING_FUNCTRACELOG_H

#include <kyimaging/kyimaging.h>

/// Logs entry when made and exit when it goes out of scope, while the trace switch is on. The texts are the caller's
/// and must outlive the guard. Can be used from any thread.
class KYI_API CFuncTraceLog {
  public:
    /// @param className  May be null; otherwise the method appears as "className::method".
    /// @param flag       Reserved, 0.
    CFuncTraceLog(const char* sourceFile, int32_t line, const wchar_t* className, const wchar_t* method, int32_t flag);
    CFuncTraceLog(const char* sourceFile, int32_t line, const wchar_t* method, int32_t flag);
    ~CFuncTraceLog();

    CFuncTraceLog(const CFuncTraceLog&) = delete;
    CFuncTraceLog& operator=(const CFuncTraceLog&) = delete;

    /// One line made of up to three texts, put together as they stand. Null texts are left out.
    void Trace(const char* sourceFile, int32_t line, const wchar_t* text1, const wchar_t* text2 = nullptr,
               const wchar_t* text3 = nullptr) const;

  private:
    const char* m_sourceFile;
    int32_t m_line;
    const wchar_t* m_className;
    const wchar_t* m_method;
    bool m_isOn; // the switch as it stood at entry, so that the log shows whole pairs
};

#endif
