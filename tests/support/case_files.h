/// Folders of test cases: tests/data/<topic>/<case>/case.json with arrays beside it.
///
/// The environment variable KY_TEST_DATA names another folder of topics in the place of tests/data; cases that it adds
/// are picked up when the test binaries are asked for their tests again.
#ifndef KYFOCUS_TESTS_SUPPORT_CASE_FILES_H
#define KYFOCUS_TESTS_SUPPORT_CASE_FILES_H

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace test {

/// tests/data, or the folder that KY_TEST_DATA names.
std::filesystem::path DataFolder();

/// Names of the case folders of a topic, sorted; those that begin with `prefix`.
std::vector<std::string> CaseNames(const std::string& topic, const std::string& prefix = "");

/// One case.
struct Case {
    std::filesystem::path Folder;
    nlohmann::json Json;
    std::filesystem::path File(const std::string& name) const { return Folder / name; }
};
Case LoadCase(const std::string& topic, const std::string& name);

/// A folder that is made for one test and removed with it.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

} // namespace test

#endif
