// The catalogues, and the whole screen in each language on the panel that the environment gives.
#include "app/makeup.h"
#include "core/panels.h"
#include "device/fram.h"
#include "platform/panelstyle.h"
#include "usb/detectmsg.h"

#include <QtTest>
#include <QtWidgets>

namespace
{

struct Message {
    QString context;
    QString source;
    QString translations[2]; // of language 1 and 2
};

QList<Message> catalogue()
{
    QList<Message> messages;
    QFile file(QStringLiteral(CATALOGUE_TABLE));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no table");
    for (const QString &line : QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)) {
        const QStringList columns = line.split('\t');
        messages << Message{columns[0], columns[1], {columns[2], columns[3]}};
    }
    return messages;
}

QStringList itemTexts(const QWidget *widget)
{
    QStringList texts;
    if (const auto *combo = qobject_cast<const QComboBox *>(widget)) {
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
    }
    if (const auto *tabs = qobject_cast<const QTabBar *>(widget)) {
        for (int i = 0; i < tabs->count(); ++i)
            texts << tabs->tabText(i);
    }
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        texts << label->text();
    if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        texts << button->text();
    return texts;
}

/** Widgets whose text does not fit where they stand. */
QStringList cutOff(const QWidget &window)
{
    QStringList faults;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (!widget->isVisible() || itemTexts(widget).isEmpty())
            continue;
        const QRect place(widget->mapTo(&window, QPoint(0, 0)), widget->size());
        const QSize needed = widget->minimumSizeHint();
        if (!window.rect().contains(place) || widget->width() < needed.width() ||
            widget->height() < needed.height())
            faults << itemTexts(widget).join('/');
    }
    for (const auto *tabs : window.findChildren<QTabBar *>()) {
        if (tabs->sizeHint().width() > window.width())
            faults << "tabs";
    }
    return faults;
}

/** Appends the texts of a window, which fills the panel and cuts none of them off. */
void look(const QWidget &window, QStringList &texts)
{
    QCoreApplication::processEvents();
    QCOMPARE(cutOff(window), QStringList{});
    QCOMPARE(window.size(), Makeup::monitorSize);
    for (const QWidget *widget : window.findChildren<QWidget *>())
        texts << itemTexts(widget);
}

/** @return the font size in pixels that the panel's style sheet sets */
int fontPixels(const QSize &size)
{
    for (const auto &panel : displayprofile::Panels) {
        if (size == QSize(panel.width, panel.height))
            return panel.fontPixels;
    }
    return 0;
}

} // namespace

class LanguagesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cataloguesAreStoredAsCompiled_data();
    void cataloguesAreStoredAsCompiled();
    void everyMessageIsTranslated();
    void theLastLanguageWins();
    void wholeScreen_data();
    void wholeScreen();
};

void LanguagesTest::initTestCase()
{
    PanelStyle::apply(*qApp);
}

void LanguagesTest::cleanup()
{
    Fram::getInstance()->translate(0);
}

void LanguagesTest::cataloguesAreStoredAsCompiled_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::newRow("zh_TW") << qint64(1613);
    QTest::newRow("zh_CN") << qint64(1571);
}

void LanguagesTest::cataloguesAreStoredAsCompiled()
{
    const QString path = QStringLiteral(":/corvanta_%1.qm");
    const QResource catalogue(path.arg(QLatin1String(QTest::currentDataTag())));
    QTEST(qint64(catalogue.size()), "bytes"); // as stored, compressed or not
    QCOMPARE(catalogue.compressionAlgorithm(), QResource::NoCompression);
}

void LanguagesTest::everyMessageIsTranslated()
{
    const QList<Message> messages = catalogue();
    QCOMPARE(messages.size(), 26);
    for (int language : {1, 2}) {
        Fram::getInstance()->translate(language);
        for (const Message &message : messages)
            QCOMPARE(QCoreApplication::translate(qPrintable(message.context),
                                                 qPrintable(message.source)),
                     message.translations[language - 1]);
    }
}

void LanguagesTest::theLastLanguageWins()
{
    const auto ok = [] { return QCoreApplication::translate("DetectMsg", "OK"); };
    Fram *fram = Fram::getInstance();
    for (int other : {0, 3, 256, 65535, -1}) {
        QTest::ignoreMessage(QtDebugMsg, "load translator true");
        fram->translate(1);
        QCOMPARE(ok(), QStringLiteral("確認"));
        QTest::ignoreMessage(QtDebugMsg, "load translator false");
        fram->translate(other);
        QCOMPARE(ok(), QStringLiteral("OK"));
    }
    fram->translate(1);
    fram->translate(2);
    QCOMPARE(ok(), QStringLiteral("确定"));
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
    Fram::getInstance()->translate(language);
    QWidget window(nullptr, Qt::FramelessWindowHint);
    Makeup *makeup = Makeup::getInstance(&window);
    makeup->doShapping();
    Makeup::setGlobalStyle();
    Makeup::setStyle(&window);
    window.show();

    auto *tabs = window.findChild<QTabWidget *>();
    const bool roomy = window.width() == 1280;
    QCOMPARE(tabs->widget(0)->layout()->contentsMargins() == QMargins(10, 30, 0, 0), roomy);
    QCOMPARE(tabs->widget(1)->layout()->contentsMargins(), QMargins(10, 20, 0, 0));
    const int font = fontPixels(window.size());
    QCOMPARE(window.findChild<QLineEdit *>()->font().pixelSize(), font);

    QStringList shown;
    for (bool linkUp : {false, true}) { // both texts of the link; the widest ones stay within
        makeup->updateStatus(linkUp);
        for (int i = 0; i < tabs->count(); ++i) {
            tabs->setCurrentIndex(i);
            look(window, shown);
        }
    }
    for (const char *source : {"Undetected dongle,Please plugin and wait a moment!",
                               "Connect Fail! Please Check the Parameter And Try Again!"}) {
        QString text = QCoreApplication::translate("Makeup", source);
        DetectMsg notice(&window, &text, NOTICE);
        notice.show();
        look(notice, shown);
        QCOMPARE(notice.findChild<QLabel *>()->font().pixelSize(), font);
    }
    for (const Message &message : catalogue()) {
        // Which of these is shown depends on the machine's own USB bus.
        if (message.source == "detected" || message.source == "undetected")
            continue;
        const bool inEnglish = language == 0;
        const QString text = inEnglish ? message.source : message.translations[language - 1];
        QVERIFY2(shown.contains(text), qPrintable(message.source));
        QVERIFY2(inEnglish || !shown.contains(message.source), qPrintable(message.source));
    }
    QVERIFY(shown.contains(QStringLiteral("PAP"))); // no entry: as it is in every language
}

QTEST_MAIN(LanguagesTest)
#include "tst_languages.moc"
