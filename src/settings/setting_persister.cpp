#include <kyfocus/setting_persister.h>

#include <exception>
#include <string>
#include <vector>

#include "platform/profile.h"
#include "settings/setting_keys.h"

namespace {

constexpr std::size_t kValueCapacity = 1024; // characters, with the terminator; what is longer is cut

std::int32_t SwitchValue(std::int32_t value) { return value != 0 ? 1 : 0; }

} // namespace

void CKyfFocusCompositionSettingPersister::Load(const std::wstring& path, CKyfFocusCompositionSetting& setting) try {
    const platform::ProfileFile file(path.c_str());
    KyfFocusCompositionParameter parameter = setting.Get();
    for (const kyf::SettingKey& key : kyf::SettingKeys()) {
        std::int32_t& field = key.Field(parameter);
        const std::wstring text = file.Read(kyf::kSettingSection, key.Name, L"", kValueCapacity);
        if (const auto value = platform::ParseProfileNumber(text)) field = static_cast<std::int32_t>(*value);
        if (key.IsSwitch) field = SwitchValue(field);
    }
    setting.Set(parameter);
} catch (const std::exception&) { // out of memory: as a file that cannot be read
}

void CKyfFocusCompositionSettingPersister::Save(const std::wstring& path,
                                                const CKyfFocusCompositionSetting& setting) try {
    KyfFocusCompositionParameter parameter = setting.Get();
    std::vector<platform::ProfileEntry> entries;
    for (const kyf::SettingKey& key : kyf::SettingKeys()) {
        const std::int32_t value = key.Field(parameter);
        entries.push_back({key.Name, std::to_wstring(key.IsSwitch ? SwitchValue(value) : value)});
    }
    platform::WriteProfileTexts(path.c_str(), kyf::kSettingSection, entries);
} catch (const std::exception&) { // out of memory: the file is as it was
}

CKyfFocusCompositionSettingPersister::CKyfFocusCompositionSettingPersister() = default;

CKyfFocusCompositionSettingPersister::~CKyfFocusCompositionSettingPersister() = default;

void KyfSaveFocusCompositionParameter(const KyfFocusCompositionParameter* parameter, const wchar_t* path) {
    if (parameter == nullptr || path == nullptr) return;
    try {
        CKyfFocusCompositionSettingPersister::Save(path, CKyfFocusCompositionSetting(*parameter));
    } catch (const std::exception&) { // out of memory for the path
    }
}

void KyfLoadFocusCompositionParameter(KyfFocusCompositionParameter* parameter, const wchar_t* path) {
    if (parameter == nullptr) return;
    CKyfFocusCompositionSetting setting;
    try {
        CKyfFocusCompositionSettingPersister::Load(path != nullptr ? path : L"", setting);
    } catch (const std::exception&) { // out of memory for the path
    }
    *parameter = setting.Get();
}
