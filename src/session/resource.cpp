#include <kyfocus/resource.h>

#include <array>
#include <exception>

#include "session/start_up.h"

namespace kyf {

std::wstring g_resourceName;

namespace {

constexpr std::array kLanguageModules = {L"KYFResourceEng.dll", L"KYFResourceJPN.dll", L"KYFResourceKOR.dll",
                                         L"KYFResourceZhHant.dll", L"KYFResourceZhHans.dll"};
constexpr std::size_t kDefaultLanguage = 1;

KyfLoadResource g_loadResource = nullptr;
KyfUnloadResource g_unloadResource = nullptr;
void* g_currentResource = nullptr;

/// False when out of memory: the name then is what it was.
bool SetName(const wchar_t* name) noexcept {
    try {
        g_resourceName = name;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

} // namespace kyf

void KyfSetResourceLoader(KyfLoadResource load, KyfUnloadResource unload) {
    kyf::g_loadResource = load;
    kyf::g_unloadResource = unload;
}

void* KyfGetCurrentResource() { return kyf::g_currentResource; }

void KyfSetLanguageType(int32_t language) {
    const auto index = static_cast<std::uint32_t>(language);
    if (index < kyf::kLanguageModules.size()) kyf::SetName(kyf::kLanguageModules[index]);
}

void KyfSetResourceName(const wchar_t* name) { kyf::SetName(name != nullptr ? name : L""); }

CKYFocusResource::CKYFocusResource() : m_hPreviousResource(kyf::g_currentResource), m_hResource(nullptr) {
    if (kyf::g_resourceName.empty() && !kyf::SetName(kyf::kLanguageModules[kyf::kDefaultLanguage])) return;
    if (kyf::g_loadResource != nullptr) m_hResource = kyf::g_loadResource(kyf::g_resourceName.c_str());
    if (m_hResource != nullptr) kyf::g_currentResource = m_hResource;
}

CKYFocusResource::~CKYFocusResource() {
    kyf::g_currentResource = m_hPreviousResource;
    if (m_hResource != nullptr && kyf::g_unloadResource != nullptr) kyf::g_unloadResource(m_hResource);
}
