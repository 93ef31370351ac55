#include "output_files.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <system_error>
#include <utility>

#include "errors.h"
#include "interruption.h"

namespace app {

namespace fs = std::filesystem;

OutputFiles::~OutputFiles() {
    for (const auto& [targetFolder, temporaryFolder] : m_folders) RemoveTemporaryFolder(temporaryFolder);
}

const fs::path& OutputFiles::TemporaryFolderBeside(const fs::path& target) {
    std::error_code error;
    const fs::path parent = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const fs::path folder = fs::canonical(parent, error);
    if (error)
        throw Failure(target.native() + ": cannot be written: folder " + parent.native() + ": " + error.message());
    if (const auto known = m_folders.find(folder); known != m_folders.end()) return known->second;
    try {
        return m_folders.emplace(folder, MakeTemporaryFolder(folder / ".kyfocus-XXXXXX")).first->second;
    } catch (const std::system_error& reason) {
        throw Failure(target.native() + ": cannot be written: folder " + parent.native() + ": " +
                      reason.code().message());
    }
}

void OutputFiles::Add(const fs::path& target) {
    std::error_code error;
    if (target.filename().empty() || fs::is_directory(target, error))
        throw Failure(target.native() + ": is a folder, expected the name of a file to write");
    fs::path temporary = TemporaryFolderBeside(target) / target.filename();
    for (const Output& output : m_outputs)
        if (output.Temporary == temporary) throw UsageError(target.native() + ": named for two outputs");
    if (m_outputs.empty()) m_folder = temporary.parent_path();
    m_outputs.push_back({target, std::move(temporary)});
}

void OutputFiles::Write(const fs::path& target, const std::function<void(const fs::path&)>& write) {
    const auto output = std::find_if(m_outputs.begin(), m_outputs.end(),
                                     [&](const Output& candidate) { return candidate.Target == target; });
    assert(output != m_outputs.end());
    const std::string temporary = output->Temporary.native();
    try {
        write(output->Temporary);
    } catch (const Failure& failure) {
        std::string message = failure.what();
        if (message.starts_with(temporary)) message.replace(0, temporary.size(), target.native());
        throw Failure(message);
    }
}

void OutputFiles::Commit() {
    WithoutInterruption([this] {
        for (const Output& output : m_outputs) {
            std::error_code error;
            fs::rename(output.Temporary, output.Target, error);
            if (error) throw Failure(output.Target.native() + ": cannot be written: " + error.message());
        }
    });
    m_outputs.clear();
}

} // namespace app
