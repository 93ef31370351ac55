#include "support/case_files.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>

namespace test {

std::filesystem::path DataFolder() {
    const char* const other = std::getenv("KY_TEST_DATA");
    return other && *other ? other : KY_TEST_DATA;
}

std::vector<std::string> CaseNames(const std::string& topic, const std::string& prefix) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(DataFolder() / topic)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(prefix) && std::filesystem::exists(entry.path() / "case.json")) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

Case LoadCase(const std::string& topic, const std::string& name) {
    Case result;
    result.Folder = DataFolder() / topic / name;
    std::ifstream in(result.File("case.json"));
    if (!in) throw std::runtime_error("no test data: " + result.File("case.json").string());
    result.Json = nlohmann::json::parse(in);
    return result;
}

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kytest-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make " + name);
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace test
