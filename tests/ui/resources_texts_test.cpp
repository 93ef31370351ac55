// The catalogues of the five languages: complete, translated, and usable by keyboard.
#include <algorithm>
#include <map>
#include <set>

#include <QFile>
#include <QFontDatabase>
#include <QRegularExpression>
#include <QStringList>
#include <QWidget>
#include <gtest/gtest.h>

#include "ui/resources/resources.h"
#include "ui/resources/text_ids.h"
#include "ui/resources_support.h"

namespace {

using namespace kyfui;

/// All numbers of the header by their names, so that a new one cannot be forgotten here.
std::map<QString, int> AllNumbers() {
    QFile header(QStringLiteral(KY_TEXT_IDS));
    EXPECT_TRUE(header.open(QIODevice::ReadOnly));
    static const QRegularExpression constant(QStringLiteral("\\b(kId\\w+)\\s*=\\s*(0x[0-9A-Fa-f]+)"));
    std::map<QString, int> numbers;
    for (auto match = constant.globalMatch(QString::fromUtf8(header.readAll())); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        numbers[found.captured(1)] = found.captured(2).toInt(nullptr, 16);
    }
    EXPECT_GT(numbers.size(), 80U);
    return numbers;
}

const std::set<int> kWithoutText = {kIdDragCursor,   kIdBottomPicture, kIdTopPicture,
                                    kIdOtherPicture, kIdPanelPlace,    kIdGpuPanelPlace};

/// Controls that show no text of their own, so that screen readers need a name.
const std::set<int> kNameAlone = {
    kIdParameterPanel, kIdPlaneBottomButton, kIdPlaneTopButton, kIdPlaneOtherButton, kIdSpeed,
    kIdPreset,         kIdSmoothingSlider,   kIdSmoothingEdit,  kIdCompSizeSlider,   kIdCompSizeEdit,
    kIdAreaCount,      kIdAreaPicture,       kIdProcessorText,  kIdSensitivityEdit,  kIdSensitivitySlider,
    kIdShapeEdit,      kIdShapeSlider,       kIdNoiseEdit,      kIdNoiseSlider};

/// What can be seen at the same time.
const std::map<std::string, std::vector<int>> kDialogs = {
    {"main",
     {kIdOk, kIdCancel, kIdAlgorithm2D, kIdAlgorithm3D, kIdComplex, kIdSetFine, kIdSetMedium, kIdSetCoarse,
      kIdSetManual, kIdManualButton, kIdPlaneBottom, kIdPlaneTop, kIdPlaneOther, kIdDetailButton, kIdAutoPosition,
      kIdPositioningButton, kIdSpeedLabel, kIdDisableGpu}},
    {"manual", {kIdOk, kIdCancel, kIdPresetLabel, kIdCompSizeLabel, kIdSmoothingLabel}},
    {"positioning", {kIdOk, kIdCancel, kIdAreaCountLabel, kIdAreaReset}},
    {"detail",
     {kIdOk, kIdCancel, kIdHalation, kIdPeakPosition, kIdSensitivityLabel, kIdNoiseLabel, kIdShapeLabel,
      kIdDetailDefaults}},
};

QStringList AllTexts(const Catalogue& words) {
    return QStringList(words.Texts.values()) + words.Tips.values() + words.Names.values();
}

QList<int> SortedKeys(const QHash<int, QString>& entries) {
    QList<int> keys = entries.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

/// All matches, sorted: languages have their own order of words.
QStringList Matches(const QString& text, const char* pattern) {
    QStringList found;
    const QRegularExpression expression{QString::fromLatin1(pattern)};
    for (auto match = expression.globalMatch(text); match.hasNext();) found += match.next().captured();
    found.sort();
    return found;
}

class EachLanguage : public testing::TestWithParam<std::string> {
  protected:
    const LanguageModule m_module = test::Module(GetParam());
    const Catalogue& m_words = m_module.Words;
};
INSTANTIATE_TEST_SUITE_P(Texts, EachLanguage, testing::ValuesIn(test::kLanguages),
                         [](const auto& language) { return language.param; });

TEST_P(EachLanguage, HasATextForEveryNumber) {
    for (const auto& [name, number] : AllNumbers()) {
        if (kWithoutText.contains(number)) continue;
        const bool needsName = kNameAlone.contains(number);
        EXPECT_TRUE((needsName ? m_words.Names : m_words.Texts).contains(number)) << name.toStdString();
    }
}

TEST_P(EachLanguage, HasTheEntriesOfTheBuiltInTextsAndNoOthers) {
    const Catalogue& english = BuiltInModule().Words;
    EXPECT_EQ(SortedKeys(m_words.Texts), SortedKeys(english.Texts));
    EXPECT_EQ(SortedKeys(m_words.Tips), SortedKeys(english.Tips));
    EXPECT_EQ(SortedKeys(m_words.Names), SortedKeys(english.Names));
}

TEST_P(EachLanguage, HasNoMnemonicTwiceInADialog) {
    for (const auto& [dialog, numbers] : kDialogs) {
        std::map<QString, int> owners;
        for (const int number : numbers) {
            for (const QString& mnemonic : Matches(m_words.Texts.value(number), "&[^&]")) {
                const auto [owner, isNew] = owners.emplace(mnemonic.toUpper(), number);
                EXPECT_TRUE(isNew) << dialog << ": " << mnemonic.toStdString() << " of " << owner->second << ", "
                                   << number;
            }
        }
    }
}

TEST_P(EachLanguage, HasAMnemonicOnEverythingButOkAndCancel) {
    for (const auto& [dialog, numbers] : kDialogs)
        for (const int number : numbers)
            EXPECT_EQ(m_words.Texts.value(number).count(u'&'), number == kIdOk || number == kIdCancel ? 0 : 1)
                << dialog << ": " << number;
}

TEST_P(EachLanguage, TellsTheSamePlaceholdersAndNumbers) {
    const Catalogue& english = BuiltInModule().Words;
    for (const int number : SortedKeys(english.Texts))
        EXPECT_EQ(Matches(m_words.Texts.value(number), "%\\d|\\d+"), Matches(english.Texts.value(number), "%\\d|\\d+"))
            << number;
    // Small numbers are words in some languages.
    for (const int number : SortedKeys(english.Tips))
        EXPECT_EQ(Matches(m_words.Tips.value(number), "\\b\\d{2,}(?!D)"),
                  Matches(english.Tips.value(number), "\\b\\d{2,}(?!D)"))
            << number << m_words.Tips.value(number).toStdString();
}

TEST_P(EachLanguage, TellsTheRangeOfEveryField) {
    const std::map<int, const char*> most = {
        {kIdCompSizeEdit, "20"},    {kIdCompSizeSlider, "20"},    {kIdSmoothingEdit, "10"}, {kIdSmoothingSlider, "10"},
        {kIdSensitivityEdit, "10"}, {kIdSensitivitySlider, "10"}, {kIdShapeEdit, "10"},     {kIdShapeSlider, "10"},
        {kIdNoiseEdit, "10"},       {kIdNoiseSlider, "10"}};
    for (const auto& [number, limit] : most) {
        const QStringList numbers = Matches(m_words.Tips.value(number), "\\d+");
        EXPECT_TRUE(numbers.contains(QStringLiteral("0")) && numbers.contains(QString::fromLatin1(limit))) << number;
    }
}

TEST_P(EachLanguage, LeavesNothingInEnglish) {
    if (GetParam() == "Eng") return;
    const QStringList names = {"2D", "3D", "OK", "GPU", "CPU", "NVIDIA", "CUDA", "OpenCL", "Tab"};
    for (QString text : AllTexts(m_words))
        for (const QString& word : Matches(text.remove(u'&'), "[A-Za-z0-9]*[A-Za-z]{2,}"))
            EXPECT_TRUE(names.contains(word)) << text.toStdString();
    const Catalogue& english = BuiltInModule().Words;
    for (const int number : SortedKeys(english.Texts)) {
        const bool isTheSame = m_words.Texts.value(number) == english.Texts.value(number);
        const bool mayBe =
            number == kIdOk || number == kIdAlgorithm2D || number == kIdAlgorithm3D || number == kIdPercent;
        EXPECT_TRUE(!isTheSame || mayBe) << number;
    }
}

TEST_P(EachLanguage, BreaksTipsIntoLinesThatFitAScreen) {
    for (const QString& tip : m_words.Tips) {
        for (const QString& line : tip.split(u'\n')) {
            // Chinese, Japanese and Korean characters are twice as wide.
            const auto wide = std::count_if(line.begin(), line.end(), [](QChar c) { return c.unicode() >= 0x2E80; });
            EXPECT_LE(line.size() + wide, 110) << line.toStdString();
        }
    }
}

TEST(Texts, EnglishOnesAreBuiltIn) {
    const LanguageModule english = test::Module("Eng");
    EXPECT_EQ(english.Words.Texts, BuiltInModule().Words.Texts);
    EXPECT_EQ(english.Words.Tips, BuiltInModule().Words.Tips);
    EXPECT_EQ(english.Words.Names, BuiltInModule().Words.Names);
    EXPECT_EQ(Text(kIdParameterDialog), QStringLiteral("Focus composition"));
    EXPECT_EQ(Text(0x7777), QString());
    EXPECT_EQ(ToolTip(kIdOk), QString());
}

TEST(Texts, NamesForScreenReadersCarryNoMnemonic) {
    EXPECT_EQ(AccessibleName(kIdSetCoarse), QStringLiteral("Coarse structures"));
    EXPECT_EQ(AccessibleName(kIdManualButton), QStringLiteral("Adjust the 2D settings"));
    EXPECT_EQ(AccessibleName(kIdSensitivityLabel), QStringLiteral("Sensitivity"));
    EXPECT_EQ(AccessibleName(kIdSpeed), QStringLiteral("Speed"));
    EXPECT_EQ(AccessibleName(kIdPercent), QStringLiteral("%"));
}

class TextsOfModules : public test::WithModules {};

TEST_F(TextsOfModules, LoseMnemonicsBehindTheWordInNames) {
    KyfSetLanguageType(1);
    const CKYFocusResource japanese;
    EXPECT_EQ(Text(kIdSpeedLabel), QStringLiteral("処理速度(&E):"));
    EXPECT_EQ(AccessibleName(kIdSpeedLabel), QStringLiteral("処理速度"));
    EXPECT_EQ(AccessibleName(kIdSetFine), QStringLiteral("細かい構造"));
}

TEST_F(TextsOfModules, AreShownInTheFormsOfTheirLanguage) {
    QWidget usual;
    const QFont before = usual.font();
    UseLanguageFont(usual);
    EXPECT_EQ(usual.font(), before);
    KyfSetLanguageType(4);
    const CKYFocusResource chinese;
    QWidget window;
    window.setFont(QFont(before.family(), 23));
    UseLanguageFont(window);
    EXPECT_EQ(window.font().family(), before.family());
    EXPECT_EQ(window.font().pointSize(), 23);
    const bool hasFont = QFontDatabase::hasFamily(QStringLiteral("Noto Sans CJK SC"));
    EXPECT_EQ(window.font().families().contains(QStringLiteral("Noto Sans CJK SC")), hasFont);
}

TEST(Catalogue, LinesAreEntriesOrCommentsOrTheFileIsDamaged) {
    const auto catalogue = ReadCatalogue("# x\n\n 0x10 = a = \\\\ b\\nc \r\n16 tip=t\n0x10  name = n\n");
    ASSERT_TRUE(catalogue);
    EXPECT_EQ(catalogue->Texts.value(16), QStringLiteral("a = \\ b\nc"));
    EXPECT_EQ(catalogue->Tips.value(16), QStringLiteral("t"));
    EXPECT_EQ(catalogue->Names.value(16), QStringLiteral("n"));
    EXPECT_EQ(ReadCatalogue("fonts = A B, C\n")->Fonts, (QStringList{"A B", "C"}));
    for (const char* line :
         {"0x10", "0x10 =", "0x10 = a\\", "0x10 = \\x", "zehn = a", "0x10 hint = a", "= a", "0x10 tip x = a",
          "0x10 = \xFF", "0x10 = a\n16 = b", "0x100000000 = a", "fonts = A,,B", "fonts = A\nfonts = B"})
        EXPECT_FALSE(ReadCatalogue(line)) << line;
}

} // namespace
