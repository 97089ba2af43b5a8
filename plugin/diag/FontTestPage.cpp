#include "diag/FontTestPage.h"

#include "services/FontManager.h"
#include "services/LocaleManager.h"
#include "views/LabelView.h"

namespace {

const char* const JapaneseSample = "日本語の表示テスト：いろはにほへと";
const char* const ChineseSample = "中文显示测试：天地玄黄宇宙洪荒";

} // namespace

FontTestPage::FontTestPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("FONTS"))
{
    const FontManager* fonts = FontManager::instance();
    addMainLabel(QStringLiteral("Normal"));
    for (const QFont& font : fonts->proportionalFonts())
        addFontLabel(font.family(), font, 20);
    nextLine();
    addMainLabel(QStringLiteral("Monospaced"));
    for (const QFont& font : fonts->monospacedFonts())
        addFontLabel(font.family(), font, 20);
}

void FontTestPage::addFontLabel(const QString& name, const QFont& font, int size)
{
    QString text;
    if (LocaleManager::isAsianLanguage()) {
        const char* sample = LocaleManager::isJapanese() ? JapaneseSample : ChineseSample;
        text = QStringLiteral("%1%2%3").arg(name, QStringLiteral(" - "), QString::fromUtf8(sample));
    } else {
        text = QStringLiteral("%1 - 0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ").arg(name);
    }
    LabelView* label = addMainLabel(text, true);
    label->setFont(font);
    label->setFontSize(size, true);
    label->setTextColor(QColor(0xf2, 0xf2, 0xf2));
    label->setShadowColor(QColor(0, 0, 0, 160));
    label->setFixedWidth(850);
}
