#include "ui/display/display.h"

#include <algorithm>
#include <exception>
#include <memory>

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>
#include <QThread>
#include <kyfocus/ui/display.h>

#include "platform/modules.h"

namespace kyfui {

namespace {

struct CloseModule {
    void operator()(void* module) const noexcept { platform::CloseModule(module); }
};
using Module = std::unique_ptr<void, CloseModule>;

template <typename Function> Function* Find(const Module& module, const char* name) {
    return reinterpret_cast<Function*>(platform::FindEntryPoint(module.get(), name));
}

/// Connects as Qt's plugin does, with the same library.
bool HasXDisplay() {
    const Module module(platform::OpenModule(L"libxcb.so.1"));
    const auto connect = Find<void*(const char*, int*)>(module, "xcb_connect");
    const auto hasError = Find<int(void*)>(module, "xcb_connection_has_error");
    const auto disconnect = Find<void(void*)>(module, "xcb_disconnect");
    if (!connect || !hasError || !disconnect) return false;
    void* const connection = connect(nullptr, nullptr);
    const bool isOpen = connection && hasError(connection) == 0;
    disconnect(connection); // a connection that has failed as well; null is accepted
    return isOpen;
}

bool HasWaylandDisplay() {
    const Module module(platform::OpenModule(L"libwayland-client.so.0"));
    const auto connect = Find<void*(const char*)>(module, "wl_display_connect");
    const auto disconnect = Find<void(void*)>(module, "wl_display_disconnect");
    if (!connect || !disconnect) return false;
    void* const display = connect(nullptr);
    if (display) disconnect(display);
    return display != nullptr;
}

bool IsPluginOf(const QPluginLoader& plugin, const QByteArray& platform) {
    const QJsonArray keys = plugin.metaData().value(QLatin1String("MetaData"))[QLatin1String("Keys")].toArray();
    return std::any_of(keys.begin(), keys.end(), [&](const QJsonValue& key) {
        return key.toString().compare(QLatin1String(platform), Qt::CaseInsensitive) == 0;
    });
}

/// A plugin that lacks a library of the system cannot be loaded.
bool HasPlugin(const QByteArray& platform) {
    QStringList folders = {qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH")};
    for (const QString& path : QCoreApplication::libraryPaths()) folders += path + QLatin1String("/platforms");
    for (const QString& folder : folders) {
        if (folder.isEmpty()) continue;
        const QDir plugins(folder);
        for (const QString& file : plugins.entryList(QDir::Files)) {
            QPluginLoader plugin(plugins.filePath(file));
            if (IsPluginOf(plugin, platform) && plugin.load()) return true;
        }
    }
    return false;
}

} // namespace

QByteArrayList WantedPlatforms() {
    QByteArrayList platforms = qgetenv("QT_QPA_PLATFORM").toLower().split(';');
    for (QByteArray& name : platforms) name = name.split(':').first();
    platforms.removeAll(QByteArray());
    if (!platforms.isEmpty()) return platforms;
    if (qgetenv("XDG_SESSION_TYPE") == "wayland") return {"wayland", "xcb"};
    return {"xcb"};
}

bool CanOpenPlatform(const QByteArray& name) {
    if (!HasPlugin(name)) return false;
    if (name == "xcb") return HasXDisplay();
    return !name.startsWith("wayland") || HasWaylandDisplay();
}

bool CanShowDialogs() {
    if (const QCoreApplication* const application = QCoreApplication::instance())
        return qobject_cast<const QApplication*>(application) && application->thread() == QThread::currentThread();
    const QByteArrayList platforms = WantedPlatforms();
    return std::any_of(platforms.begin(), platforms.end(), CanOpenPlatform);
}

} // namespace kyfui

KyiBool KyfCanShowDialogs() {
    try {
        return kyfui::CanShowDialogs() ? 1 : 0;
    } catch (const std::exception&) { // out of memory
        return 0;
    }
}
