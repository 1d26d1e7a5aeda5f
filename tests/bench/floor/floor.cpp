// The programs that ./bench compares with. Without an argument it is the baseline: the program's
// widgets, style sheets (set in the same order), start-up probes, and a connection attempt with
// changed parameters until the start of pppd. With an argument it is the C reference: only the
// commands and bus enumerations of a link check.
#include <QtWidgets>
#include <fcntl.h>
#include <libusb.h>
#include <poll.h>
#include <unistd.h>

namespace
{

constexpr useconds_t PauseMicroseconds = 200'000;

QByteArray contentOf(const char *path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void replaceFile(const char *path, const QByteArray &content)
{
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    [[maybe_unused]] const ssize_t written = ::write(file, content.constData(), content.size());
    ::fsync(file);
    ::close(file);
}

bool succeeds(const char *commandLine)
{
    return std::system(commandLine) == 0;
}

bool isNodePresent()
{
    return succeeds("ls /dev | grep ttyUSB");
}

bool isDonglePresent()
{
    libusb_device **devices = nullptr;
    bool found = false;
    libusb_init(nullptr);
    const ssize_t count = libusb_get_device_list(nullptr, &devices);
    for (ssize_t i = 0; i < count && !found; ++i) {
        libusb_device_descriptor descriptor;
        found = libusb_get_device_descriptor(devices[i], &descriptor) == 0 &&
                descriptor.idVendor == 0x12d1 && descriptor.idProduct == 0x1001;
    }
    libusb_free_device_list(devices, 1);
    libusb_exit(nullptr);
    return found;
}

void checkLink()
{
    succeeds("ifconfig | grep ppp");
    isDonglePresent();
    isNodePresent();
}

void connectLink()
{
    isDonglePresent();
    isNodePresent();
    succeeds("killall pppd");
    replaceFile("/quenfold/configs/3gparam", QByteArray(132, '\n'));
    replaceFile("/quenfold/configs/autoparam", QByteArray(44, '\n'));
    contentOf("/quenfold/configs/3gparam");
    contentOf("/quenfold/configs/autoparam");
    replaceFile("/etc/ppp/peers/ppp-connect", QByteArray(308, '\n'));
    replaceFile("/etc/ppp/chat/chat", QByteArray(352, '\n'));
    succeeds("pppd call ppp-connect &");
}

/** Check the link twice, each time followed by a poll() that preload.c records. The second time is
    comparable to a program that has been running for a while: the pause before it is as long as the
    program's, so that other processes have used the CPU caches in both. */
int measureCheck()
{
    for (int i = 0; i < 2; ++i) {
        checkLink();
        ::poll(nullptr, 0, 0);
        ::usleep(PauseMicroseconds);
    }
    return 0;
}

QGridLayout *addPage(QTabWidget &tabs, const char *title)
{
    auto *page = new QGridLayout(new QWidget);
    tabs.addTab(page->parentWidget(), title);
    return page;
}

void spread(QGridLayout *page, int stretchColumn)
{
    page->setRowStretch(2, 1);
    page->setColumnStretch(stretchColumn, 1);
    page->setContentsMargins(10, 20, 0, 0);
    page->setVerticalSpacing(15);
}

void addRow(QGridLayout *page, int row, const char *text, QWidget &widget, int columns = 1)
{
    page->addWidget(new QLabel(text), row, 0);
    page->addWidget(&widget, row, 1, 1, columns);
}

/** All widgets of the program, also those that are on no page. */
struct Screen : QWidget {
    QLineEdit edits[5], counts;
    QComboBox method;
    QLabel dongle, link, signalLabel{"Signal Strength:"}, signal;
    QRadioButton yes{"YES"}, no{"NO"};
    QPushButton connect{"Connect"}, disconnect{"Disconnect"}, exit{"Exit"}, ping{"Ping hinet"};
    QProgressBar signalBar;
    QTextEdit pingOutput;
    QTabWidget tabs{this};

    void arrange()
    {
        const char *const texts[] = {"APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:"};
        QGridLayout *setting = addPage(tabs, "3G/4G Setting");
        for (int row = 0; row < 5; ++row)
            addRow(setting, row, texts[row], edits[row]);
        edits[3].setEchoMode(QLineEdit::Password);
        addRow(setting, 5, "APN Auth Methods:", method);
        method.addItems({"AUTO", "PAP", "CHAP"});
        QGridLayout *status = addPage(tabs, "3G/4G Status");
        spread(status, 2);
        addRow(status, 0, "Dongle Status:", dongle);
        addRow(status, 1, "PPP Status:", link);
        QGridLayout *misc = addPage(tabs, "Misc Setting");
        spread(misc, 3);
        addRow(misc, 0, "Auto Connect:", yes);
        misc->addWidget(&no, 0, 2);
        addRow(misc, 1, "Counts:", counts, 2);
        auto *buttons = new QHBoxLayout;
        for (QPushButton *button : {&connect, &disconnect, &exit})
            buttons->addWidget(button);
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(&tabs);
        layout->addLayout(buttons);
        QObject::connect(&connect, &QPushButton::clicked, [this] { dial(); });
    }

    void dial()
    {
        connect.setEnabled(false);
        tabs.widget(0)->setEnabled(false);
        auto *busyBar = new QProgressBar(this);
        busyBar->setGeometry(200, 200, 400, 40);
        busyBar->setRange(0, 0);
        busyBar->show();
        QCoreApplication::processEvents();
        connectLink();
    }

    void showValues()
    {
        const QByteArrayList dialUp = contentOf("/quenfold/configs/3gparam").split('\n');
        for (int i = 0; i < 5; ++i)
            edits[i].setText(QString::fromUtf8(dialUp.value(i)));
        method.setCurrentIndex(dialUp.value(5).toInt());
        const QByteArrayList autoConnect = contentOf("/quenfold/configs/autoparam").split('\n');
        (autoConnect.value(0).toInt() == 0 ? yes : no).setChecked(true);
        counts.setText(QString::fromUtf8(autoConnect.value(1)));
    }

    void probe()
    {
        isDonglePresent();
        QCoreApplication::processEvents();
        isNodePresent();
        const bool up = succeeds("ifconfig | grep ppp");
        connect.setEnabled(!up);
        disconnect.setEnabled(up);
        if (isDonglePresent() && isNodePresent()) {
            dongle.setText("detected");
            dongle.setStyleSheet("color:green;");
        }
        link.setText(up ? "connected" : "disconnected");
        link.setStyleSheet(up ? "color:green;" : "color:red;");
    }
};

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2)
        return measureCheck();
    QApplication app(argc, argv);
    ::open("/dev/spidev1.0", O_RDWR | O_CLOEXEC); // Fails, because there is no chip.
    Screen screen;
    screen.setWindowFlags(Qt::FramelessWindowHint);
    screen.arrange();
    screen.resize(screen.screen()->size());
    app.setStyleSheet(QString::fromUtf8(contentOf(":/styles/global.qss")));
    screen.setStyleSheet(QString::fromUtf8(contentOf(":/styles/profile7.qss"))); // 800x480
    screen.showValues();
    screen.probe();
    screen.show();
    return QApplication::exec();
}
