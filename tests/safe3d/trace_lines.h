/// What the library traces, for tests of the lines.
#ifndef KYFOCUS_TESTS_SAFE3D_TRACE_LINES_H
#define KYFOCUS_TESTS_SAFE3D_TRACE_LINES_H

#include <fstream>
#include <string>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "support/case_files.h"

namespace test {

/// Lines that the library traces during a scope, without time and place.
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

    std::vector<std::string> GetAll() const {
        std::vector<std::string> lines;
        std::ifstream log(m_folder.Path() / "kyimaging.log");
        for (std::string line; std::getline(log, line);) lines.push_back(line.substr(line.find(") ") + 2));
        return lines;
    }

    // What the back ends' own objects trace, between their Begin and End, is left out.
    std::vector<std::string> Get() const {
        std::vector<std::string> lines;
        int depth = 0;
        for (const std::string& line : GetAll()) {
            const bool isBegin = line.starts_with("Begin CCudaAPI::") || line.starts_with("Begin COpenCL");
            const bool isEnd = line.starts_with("End CCudaAPI::") || line.starts_with("End COpenCL");
            if (isBegin) ++depth;
            if (depth == 0) lines.push_back(line);
            if (isEnd) --depth;
        }
        return lines;
    }

  private:
    TemporaryFolder m_folder;
};

} // namespace test

#endif
