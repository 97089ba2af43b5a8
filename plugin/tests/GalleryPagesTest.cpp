#include "ShellFixture.h"

#include "diag/ButtonViewPage.h"
#include "diag/FontTestPage.h"
#include "services/FontManager.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"

#include <QFontMetrics>
#include <QSignalSpy>

namespace {

template <typename T>
QList<T*> viewsOf(const DisplayView* root)
{
    QList<T*> out;
    for (DisplayView* child : root->childViews()) {
        if (auto* v = qobject_cast<T*>(child))
            out << v;
        out << viewsOf<T>(child);
    }
    return out;
}

} // namespace

TEST_F(ShellTest, FontPageShowsEveryFontWithItsSampleLine)
{
    setModes(true, false);
    load();
    auto* fonts = static_cast<FontTestPage*>(shell->pageView()->getPage(shell->pageView()->findPage("FONTS")));
    EXPECT_TRUE(fonts->childViews().size() > 0); // built in the constructor, before first show
    const QList<LabelView*> labels = viewsOf<LabelView>(fonts);
    ASSERT_EQ(labels.size(), 12);
    const QList<QFont> proportional = FontManager::instance()->proportionalFonts();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(labels[1 + i]->text(), proportional[i].family() + " - 0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ");
        EXPECT_EQ(labels[1 + i]->font().family(), proportional[i].family());
    }
    EXPECT_EQ(labels[7]->font().family(), FontManager::instance()->monospacedFonts()[0].family());
    EXPECT_TRUE(FontManager::instance()->missingFamilies().isEmpty())
        << FontManager::instance()->missingFamilies().join(", ").toStdString();
}

TEST_F(ShellTest, FontPageMeasuresItsSamplesOnlyOnceSeen)
{
    setModes(true, false);
    load();
    const int index = shell->pageView()->findPage("FONTS");
    const QList<LabelView*> labels = viewsOf<LabelView>(shell->pageView()->getPage(index));
    ASSERT_EQ(labels.size(), 12);
    QSignalSpy sampleSized(labels[1], qOverload<DisplayView*>(&DisplayView::resized));
    drainEvents();
    EXPECT_EQ(sampleSized.count(), 0); // a tab nobody opened costs no text shaping

    shell->pageView()->selectPage(index);
    EXPECT_EQ(sampleSized.count(), 1);
    // As tall as the tallest of the fonts it went through: the style's, then the sample's
    // family at the style's size and at 20.
    QFont styled = labels[0]->font();
    QFont family = labels[1]->font();
    family.setPixelSize(styled.pixelSize());
    const int tallest = qMax(QFontMetrics(styled).height(),
                             qMax(QFontMetrics(family).height(), QFontMetrics(labels[1]->font()).height()));
    EXPECT_EQ(labels[1]->geometry().size(), QSize(850, tallest + 8));
}

TEST_F(ShellTest, FontPageUsesCjkSamplesInAsianLanguages)
{
    GUI_language.setValue(QLocale::Japanese);
    FontTestPage japanese(nullptr);
    const QString name = FontManager::instance()->proportionalFonts()[0].family();
    const QList<LabelView*> ja = viewsOf<LabelView>(&japanese);
    EXPECT_TRUE(ja[1]->text().startsWith(name + " - "));
    EXPECT_TRUE(ja[1]->text().contains(QChar(0x65E5))); // 日
    GUI_language.setValue(QLocale::Chinese);
    FontTestPage chinese(nullptr);
    EXPECT_TRUE(viewsOf<LabelView>(&chinese)[1]->text().contains(QChar(0x4E2D))); // 中
    EXPECT_NE(ja[1]->text(), viewsOf<LabelView>(&chinese)[1]->text());
}

TEST_F(ShellTest, ButtonGalleryIsBuiltOnFirstShowWithItsDisabledAndToggleRows)
{
    ButtonViewPage page(nullptr);
    EXPECT_TRUE(viewsOf<ButtonView>(&page).isEmpty());
    page.pageShown();
    drainEvents();
    const QList<LayoutView*> rows = viewsOf<LayoutView>(page.mainLayout());
    ASSERT_EQ(rows.size(), 6);
    for (ButtonView* b : viewsOf<ButtonView>(rows[4]))
        EXPECT_FALSE(b->isEnabled());
    for (ButtonView* b : viewsOf<ButtonView>(rows[5]))
        EXPECT_TRUE(b->isToggle()) << b->label().toStdString();
    EXPECT_GT(rows[5]->y(), rows[4]->y()); // rows stack downwards
}
