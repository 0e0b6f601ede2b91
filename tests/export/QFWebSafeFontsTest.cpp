#include "export/QFWebSafeFonts.h"
#include "export/NSAttributedString+NSStringOperations.h"
#include "export/NSAttributedString+ParagraphStyle.h"
#include "export/QFMarkupAttributes.h"
#include "platform/NSBundle.h"
#include "tests/Rows.h"
#include "tests/export/Styled.h"

using namespace Qt::StringLiterals;

/// Font table and menus, and the small text operations that the export stands on.
class QFWebSafeFontsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void findsStacksByExactName_data()
    {
        const Rows<QString> row({"stack"});
        row("TrebuchetMS-Italic", u"Trebuchet, Verdana, serif"_s);
        row("Trebuchet-BoldItalic", u"Trebuchet, Verdana, serif"_s);
        row("HiraMinPro-W3", u"Hiragino Mincho Pro, HeiseiMincho, MS PMincho serif"_s);
        row("LucidaGrande-Bold", u"'Lucida Grande', LucidaGrande, Verdana, sans-serif"_s);
        for (const char *unknown :
             {"Verdana-Italic", "Courier-Oblique", "georgia", "LucidaGrande-Italic", ""})
            row(unknown, {});
    }
    void findsStacksByExactName()
    {
        QFETCH(QString, stack);
        const NSFont font = NSFont::fontWithName(QString::fromLatin1(QTest::currentDataTag()), 12);
        QFWebSafeFonts fonts;
        fonts.setNilOnWebUnsafeFont(true);
        QCOMPARE(fonts.styleStringForFont(font), stack);
        QCOMPARE(fonts.styleStringForFont(font).isNull(), stack.isNull());
        fonts.setNilOnWebUnsafeFont(false);
        QCOMPARE(fonts.styleStringForFont(font),
                 stack.isNull() ? u"Verdana, Arial, Helvetica, sans-serif"_s : stack);
    }
    void findsUnsafeFonts()
    {
        QVERIFY(!QFWebSafeFonts::containsWebUnsafeFonts({}));
        QVERIFY(!QFWebSafeFonts::containsWebUnsafeFonts(styled({{u"a", {}}, {u"b", {font(u"Osaka", 9)}}})));
        QVERIFY(QFWebSafeFonts::containsWebUnsafeFonts(styled({{u"a", {}}, {u"b", {font(u"Futura", 9)}}})));
    }
    void stylisesMenus()
    {
        NSMenu menu;
        for (const QString &title : {u""_s, u"Theme Default"_s, u"Times"_s, u"Zapf"_s}) {
            NSMenuItem item;
            item.title = title;
            menu.items.append(item);
        }
        QTest::ignoreMessage(QtWarningMsg, "No matching font for 'Zapf'");
        QFWebSafeFonts::styliseFontMenu(menu);
        const QStringList actions{menu.items[0].action, menu.items[1].action, menu.items[2].action,
                                  menu.items[3].action};
        QCOMPARE(actions, (QStringList{{}, u"applyThemeDefaultFont:"_s, u"applyWebSafeFont:"_s, {}}));
        QCOMPARE(menu.items[2].attributedTitle, styled({{u"Times", {font(u"TimesNewRomanPSMT", 13)}}}));
        QVERIFY(menu.items[1].attributedTitle.isEmpty());
    }

    void buildsTheMarkupMenu()
    {
        NSBundle::setPreferredLanguages({u"de"_s});
        const NSMenu german = QFMarkupAttributes::setupMarkupMenu();
        NSBundle::setPreferredLanguages({u"en"_s});
        const NSMenu menu = QFMarkupAttributes::setupMarkupMenu();
        NSBundle::setPreferredLanguages({});
        QVERIFY(menu.items.size() > 5);
        QCOMPARE(german.items.size(), menu.items.size());
        qsizetype separators = 0;
        bool isTranslated = false;
        for (qsizetype i = 0; i < menu.items.size(); ++i) {
            const NSMenuItem &item = menu.items[i];
            isTranslated |= item.title != german.items[i].title;
            separators += item.isSeparatorItem ? 1 : 0;
            QVERIFY(item.isSeparatorItem ||
                    (item.action == u"applyMarkupAttributeToSelection:" && !item.title.isEmpty() &&
                     !item.representedObject.toMap().value(u"name"_s).toString().isEmpty()));
        }
        QVERIFY(separators > 0 && isTranslated);
    }

    void splitsWithoutEmptyPieces()
    {
        const auto pieces = [](const NSAttributedString &text, const QString &separator) {
            QStringList strings;
            for (const NSAttributedString &piece :
                 NSStringOperations::componentsSeparatedByString(text, separator))
                strings.append(piece.string());
            return strings;
        };
        QCOMPARE(pieces(NSAttributedString(u"\na\r\n\nb\n"_s), u"\n"_s), (QStringList{u"a\r"_s, u"b"_s}));
        QCOMPARE(pieces(NSAttributedString(u"ab"_s), u""_s), QStringList{u"ab"_s});
        QCOMPARE(pieces({}, u"\n"_s), QStringList());
        const NSAttributedString text = styled({{u"a-", {font(u"Osaka", 9)}}, {u"b", {}}});
        QCOMPARE(NSStringOperations::componentsSeparatedByString(text, u"-"_s).constFirst(),
                 styled({{u"a", {font(u"Osaka", 9)}}}));
    }
    void movesOneListOut()
    {
        const NSAttributedString text = styled({{u"a", {listed({u"disc", u"circle", u"square"})}},
                                                {u"b", {listed({u"disc"}), font(u"Osaka", 9)}},
                                                {u"c", {}}});
        QVERIFY(ParagraphStyle::hasInnerList(text));
        const NSAttributedString moved = NSStringOperations::attributedStringWithoutOutermostTextList(text);
        QCOMPARE(moved, styled({{u"a", {listed({u"circle", u"square"})}},
                                {u"b", {listed({}), font(u"Osaka", 9)}},
                                {u"c", {}}}));
        QVERIFY(!ParagraphStyle::hasInnerList({}));
        QVERIFY(NSStringOperations::attributedStringWithoutOutermostTextList({}).isEmpty());
    }
};

QTEST_APPLESS_MAIN(QFWebSafeFontsTest)
#include "QFWebSafeFontsTest.moc"
