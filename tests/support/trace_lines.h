/// Lines that the library traces during a scope, without time and place.
#ifndef KYFOCUS_TESTS_SUPPORT_TRACE_LINES_H
#define KYFOCUS_TESTS_SUPPORT_TRACE_LINES_H

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "support/case_files.h"

namespace test {

class TraceLines {
  public:
    TraceLines() {
        KyiSetTraceLogFolder(m_folder.Path().wstring().c_str());
        KyiSetPuttingTraceLog(1);
    }
    ~TraceLines() {
        KyiSetPuttingTraceLog(0);
        KyiSetTraceLogFolder(nullptr);
    }
    TraceLines(const TraceLines&) = delete;
    TraceLines& operator=(const TraceLines&) = delete;

    std::vector<std::string> Get() const {
        std::vector<std::string> lines;
        std::ifstream log(m_folder.Path() / "kyimaging.log");
        for (std::string line; std::getline(log, line);) lines.push_back(line.substr(line.find(") ") + 2));
        return lines;
    }

    /// Without what the back ends' own objects trace between their Begin and End.
    std::vector<std::string> GetWithoutBackEnds() const {
        std::vector<std::string> lines;
        int depth = 0;
        for (const std::string& line : Get()) {
            const bool isBegin = line.starts_with("Begin CCudaAPI::") || line.starts_with("Begin COpenCL");
            const bool isEnd = line.starts_with("End CCudaAPI::") || line.starts_with("End COpenCL");
            if (isBegin) ++depth;
            if (depth == 0) lines.push_back(line);
            if (isEnd) --depth;
        }
        return lines;
    }

    bool Has(const std::string& text) const {
        const std::vector<std::string> lines = Get();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    }

  private:
    TemporaryFolder m_folder;
};

/// Whether `lines` hold `expected` in this order, with others between.
inline testing::AssertionResult HasInOrder(const std::vector<std::string>& lines,
                                           const std::vector<std::string>& expected) {
    auto at = lines.begin();
    for (const std::string& line : expected) {
        at = std::find(at, lines.end(), line);
        if (at == lines.end())
            return testing::AssertionFailure() << "no \"" << line << "\" there in " << testing::PrintToString(lines);
        ++at;
    }
    return testing::AssertionSuccess();
}

inline auto CountLines(const std::vector<std::string>& lines, const std::string& text) {
    return std::count(lines.begin(), lines.end(), text);
}

} // namespace test

#endif
