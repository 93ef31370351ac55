#include "ui/resources/language_module.h"

#include <cstdint>
#include <system_error>
#include <vector>

#include <QDir>
#include <QFile>
#include <QResource>

#include "platform/files.h"
#include "platform/text.h"
#include "ui/resources/resource_check.h"

namespace kyfui {

namespace {

/// A resource file among Qt's, below a folder that no other one uses.
class Mount {
  public:
    explicit Mount(const std::vector<std::uint8_t>& file) : m_file(file.data()) {
        static int s_number = 0;
        m_root = QStringLiteral("/kyfocus/module-%1").arg(++s_number);
        m_isMounted = QResource::registerResource(m_file, m_root);
    }
    ~Mount() {
        if (m_isMounted) QResource::unregisterResource(m_file, m_root);
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    bool IsMounted() const { return m_isMounted; }
    QString Folder() const { return u':' + m_root; }

  private:
    const std::uint8_t* m_file;
    QString m_root;
    bool m_isMounted = false;
};

QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The catalogue has to be there; a module need not bring pictures.
std::optional<LanguageModule> ReadFolder(const QString& folder) {
    const QByteArray texts = ReadAll(folder + QStringLiteral("/texts.txt"));
    std::optional<Catalogue> words = ReadCatalogue(texts);
    if (texts.isEmpty() || !words) return std::nullopt;
    LanguageModule module{*std::move(words), {}};
    const QDir pictures(folder + QStringLiteral("/pictures"));
    for (const QString& name : pictures.entryList({QStringLiteral("*.svg")}, QDir::Files)) {
        bool isNumber = false;
        const int number = name.chopped(4).toInt(&isNumber, 0);
        if (isNumber) module.Pictures.insert(number, ReadAll(pictures.filePath(name)));
    }
    return module;
}

/// Empty when the file cannot be read or is too large for a module.
std::vector<std::uint8_t> ReadBytes(const std::string& path) {
    try {
        platform::InputFile file(platform::ToWide(path).c_str());
        if (file.Size() > kLargestResource) return {};
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.Size()));
        return file.ReadAt(0, bytes.data(), bytes.size()) == bytes.size() ? bytes : std::vector<std::uint8_t>();
    } catch (const std::system_error&) {
        return {};
    }
}

} // namespace

const LanguageModule& BuiltInModule() {
    static const LanguageModule module = ReadFolder(QStringLiteral(":/kyfocus/built-in")).value_or(LanguageModule());
    return module;
}

std::optional<LanguageModule> ReadModule(const std::string& path) {
    const std::vector<std::uint8_t> bytes = ReadBytes(path);
    if (!IsSoundResource(bytes)) return std::nullopt;
    const Mount mount(bytes);
    return mount.IsMounted() ? ReadFolder(mount.Folder()) : std::nullopt;
}

} // namespace kyfui
