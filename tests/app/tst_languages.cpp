// The complete screen in each language, on a panel whose size the environment sets.
#include "app/makeup.h"
#include "core/panels.h"
#include "device/fram.h"
#include "platform/panelstyle.h"
#include "usb/detectmsg.h"

#include <QtTest>
#include <QtWidgets>
#include <algorithm>

namespace
{

QString translated(const QString &english)
{
    const QString dialogText = QCoreApplication::translate("DetectMsg", qPrintable(english));
    return dialogText != english ? dialogText
                                 : QCoreApplication::translate("Makeup", qPrintable(english));
}

QStringList textsOf(const QWidget *widget)
{
    QStringList texts{widget->property("text").toString()};
    const auto *combo = qobject_cast<const QComboBox *>(widget);
    for (int i = 0; combo != nullptr && i < combo->count(); ++i)
        texts << combo->itemText(i);
    const auto *tabs = qobject_cast<const QTabBar *>(widget);
    for (int i = 0; tabs != nullptr && i < tabs->count(); ++i)
        texts << tabs->tabText(i);
    texts.removeAll(QString());
    return texts;
}

/** Append the texts of a window. Check that it fills the panel and that no text is cut off. */
void look(const QWidget &window, QStringList &shown)
{
    QCoreApplication::processEvents();
    QCOMPARE(window.size(), Makeup::monitorSize);
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        const QStringList texts = textsOf(widget);
        shown << texts;
        if (texts.isEmpty() || !widget->isVisible())
            continue;
        const QRect place(widget->mapTo(&window, QPoint()), widget->size());
        const auto *tabs = qobject_cast<const QTabBar *>(widget);
        const QSize needed = tabs != nullptr ? tabs->sizeHint() : widget->minimumSizeHint();
        QVERIFY2(window.rect().contains(place) && place.size().expandedTo(needed) == place.size(),
                 qPrintable(texts.join('/')));
    }
}

/** Check what the style sheets of the program and of the panel's profile set. */
void checkStyles(const QWidget &window)
{
    const auto *button = window.findChild<QPushButton *>();
    const QImage edge = const_cast<QPushButton *>(button)->grab().toImage();
    QCOMPARE(edge.pixelColor(0, edge.height() / 2), QColor(Qt::black));
    for (const auto &panel : displayprofile::Panels) {
        if (window.size() != QSize(panel.width, panel.height))
            continue;
        const int height = button->sizeHint().height();
        QVERIFY(height >= panel.buttonHeightMin && height <= panel.buttonHeightMax);
        QCOMPARE(window.findChild<QLineEdit *>()->font().pixelSize(), panel.fontPixels);
    }
}

/** Append the texts of all pages in both states of the link, and of both notices. */
void lookAround(int language, QStringList &shown)
{
    Fram::getInstance()->translate(language);
    QWidget window(nullptr, Qt::FramelessWindowHint);
    Makeup *makeup = Makeup::getInstance(&window);
    makeup->doShapping();
    Makeup::setGlobalStyle();
    Makeup::setStyle(&window);
    window.show();
    auto *tabs = window.findChild<QTabWidget *>();
    for (bool linkUp : {false, true}) {
        makeup->updateStatus(linkUp);
        for (int i = 0; i < tabs->count(); ++i) {
            tabs->setCurrentIndex(i);
            look(window, shown);
        }
    }
    const bool roomy = window.width() == 1280;
    QCOMPARE(tabs->widget(0)->layout()->contentsMargins() == QMargins(10, 30, 0, 0), roomy);
    QCOMPARE(tabs->widget(1)->layout()->contentsMargins(), QMargins(10, 20, 0, 0));
    checkStyles(window);
    const auto edits = window.findChildren<QLineEdit *>();
    QCOMPARE(std::count_if(
                 edits.begin(), edits.end(),
                 [](const QLineEdit *edit) { return edit->echoMode() == QLineEdit::Password; }),
             1);
    for (const char *notice : {"Undetected dongle,Please plugin and wait a moment!",
                               "Connect Fail! Please Check the Parameter And Try Again!"}) {
        QString text = translated(notice);
        DetectMsg dialog(&window, &text, NOTICE);
        dialog.show();
        look(dialog, shown);
        QCOMPARE(dialog.findChild<QLabel *>()->font().pixelSize(), edits[0]->font().pixelSize());
    }
}

} // namespace

class LanguagesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { PanelStyle::apply(*qApp); }
    void cleanup() { Fram::getInstance()->translate(0); }
    void translationsAreStoredAsCompiled();
    void theLastLanguageWins();
    void wholeScreen_data();
    void wholeScreen();
};

void LanguagesTest::translationsAreStoredAsCompiled()
{
    const QResource traditional(QStringLiteral(":/corvanta_zh_TW.qm"));
    QCOMPARE(traditional.size(), 1613); // as stored, compressed or not
    QCOMPARE(traditional.compressionAlgorithm(), QResource::NoCompression);
    const QResource simplified(QStringLiteral(":/corvanta_zh_CN.qm"));
    QCOMPARE(simplified.size(), 1571);
    QCOMPARE(simplified.compressionAlgorithm(), QResource::NoCompression);
}

void LanguagesTest::theLastLanguageWins()
{
    Fram *fram = Fram::getInstance();
    for (int other : {0, 3, 256, 65535, -1}) {
        QTest::ignoreMessage(QtDebugMsg, "load translator true");
        fram->translate(1);
        QCOMPARE(translated("OK"), QStringLiteral("確認"));
        QTest::ignoreMessage(QtDebugMsg, "load translator false");
        fram->translate(other);
        QCOMPARE(translated("OK"), QStringLiteral("OK"));
    }
    fram->translate(1);
    fram->translate(2);
    QCOMPARE(translated("OK"), QStringLiteral("确定"));
}

void LanguagesTest::wholeScreen_data()
{
    QTest::addColumn<int>("language");
    QTest::newRow("English") << 0;
    QTest::newRow("Traditional Chinese") << 1;
    QTest::newRow("Simplified Chinese") << 2;
}

void LanguagesTest::wholeScreen()
{
    QFETCH(int, language);
    QStringList english;
    lookAround(0, english);
    QStringList shown;
    lookAround(language, shown);
    std::transform(english.begin(), english.end(), english.begin(), translated);
    QCOMPARE(shown, english);
    QCOMPARE(shown.contains("Exit"), language == 0);
    QVERIFY(shown.contains("PAP")); // is the same in every language
}

QTEST_MAIN(LanguagesTest)
#include "tst_languages.moc"
