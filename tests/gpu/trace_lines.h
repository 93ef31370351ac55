/// Lines that the library traces during a scope, without time and place.
#ifndef KYFOCUS_TESTS_GPU_TRACE_LINES_H
#define KYFOCUS_TESTS_GPU_TRACE_LINES_H

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
