// The references of ./bench. Without an argument, the baseline: only the program's widgets, style
// sheets in the same order, start-up probes and the files that Exit writes. With "check" or
// "connect", the C reference: only the commands, file accesses and bus enumerations of a link
// check, or of a connection attempt with changed parameters until the start of pppd.
#include <QtWidgets>
#include <fcntl.h>
#include <libusb.h>
#include <poll.h>
#include <unistd.h>

namespace
{

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

/** Does the work twice, with a poll() after each, which preload.c records. The second time is
    comparable to a program that has been running for a while. */
int measure(void (*work)())
{
    for (int i = 0; i < 2; ++i) {
        work();
        ::poll(nullptr, 0, 0);
    }
    return 0;
}

/** All widgets of the program, also those that are on no page. */
class Screen : public QWidget
{
public:
    Screen()
    {
        setWindowFlags(Qt::FramelessWindowHint);
        auto *tabs = new QTabWidget(this);
        addPages(tabs);
        auto *buttons = new QHBoxLayout;
        for (QPushButton *button : {&m_connect, &m_disconnect, &m_exit})
            buttons->addWidget(button);
        connect(&m_exit, &QPushButton::clicked, this, &Screen::leave);
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(tabs);
        layout->addLayout(buttons);
        resize(screen()->size());
        qApp->setStyleSheet(QString::fromUtf8(contentOf(":/styles/global.qss")));
        setStyleSheet(QString::fromUtf8(contentOf(":/styles/profile7.qss"))); // 800x480
        showParameters();
        probe();
    }

private:
    static QGridLayout *newPage(int stretchColumn)
    {
        auto *grid = new QGridLayout(new QWidget);
        if (stretchColumn > 0) {
            grid->setRowStretch(2, 1);
            grid->setColumnStretch(stretchColumn, 1);
            grid->setContentsMargins(10, 20, 0, 0);
            grid->setVerticalSpacing(15);
        }
        return grid;
    }

    void addPages(QTabWidget *tabs)
    {
        const char *const texts[] = {"APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:"};
        QGridLayout *setting = newPage(0);
        for (int row = 0; row < 5; ++row) {
            setting->addWidget(new QLabel(texts[row]), row, 0);
            setting->addWidget(&m_edits[row], row, 1);
        }
        m_edits[3].setEchoMode(QLineEdit::Password);
        setting->addWidget(new QLabel("APN Auth Methods:"), 5, 0);
        setting->addWidget(&m_method, 5, 1);
        m_method.addItems({"AUTO", "PAP", "CHAP"});
        tabs->addTab(setting->parentWidget(), "3G/4G Setting");
        QGridLayout *status = newPage(2);
        status->addWidget(new QLabel("Dongle Status:"), 0, 0);
        status->addWidget(&m_dongle, 0, 1);
        status->addWidget(new QLabel("PPP Status:"), 1, 0);
        status->addWidget(&m_link, 1, 1);
        tabs->addTab(status->parentWidget(), "3G/4G Status");
        QGridLayout *misc = newPage(3);
        misc->addWidget(new QLabel("Auto Connect:"), 0, 0);
        misc->addWidget(&m_yes, 0, 1);
        misc->addWidget(&m_no, 0, 2);
        misc->addWidget(new QLabel("Counts:"), 1, 0);
        misc->addWidget(&m_counts, 1, 1, 1, 2);
        tabs->addTab(misc->parentWidget(), "Misc Setting");
    }

    void showParameters()
    {
        const QByteArrayList dialUp = contentOf("/quenfold/configs/3gparam").split('\n');
        for (int i = 0; i < 5; ++i)
            m_edits[i].setText(QString::fromUtf8(dialUp.value(i)));
        m_method.setCurrentIndex(dialUp.value(5).toInt());
        const QByteArrayList autoConnect = contentOf("/quenfold/configs/autoparam").split('\n');
        (autoConnect.value(0).toInt() == 0 ? m_yes : m_no).setChecked(true);
        m_counts.setText(QString::fromUtf8(autoConnect.value(1)));
    }

    void probe()
    {
        isDonglePresent();
        QCoreApplication::processEvents();
        isNodePresent();
        const bool up = succeeds("ifconfig | grep ppp");
        m_connect.setEnabled(!up);
        m_disconnect.setEnabled(up);
        if (isDonglePresent() && isNodePresent()) {
            m_dongle.setText("detected");
            m_dongle.setStyleSheet("color:green;");
        }
        m_link.setText(up ? "connected" : "disconnected");
        m_link.setStyleSheet(up ? "color:green;" : "color:red;");
    }

    void leave()
    {
        ::rename("/etc/ppp/ppp.log", "/etc/ppp/ppp.log.old");
        ::rename("/etc/ppp/chat.log", "/etc/ppp/chat.log.old");
        QByteArray dialUp;
        for (const QLineEdit &edit : m_edits)
            dialUp += edit.text().toUtf8() + '\n';
        replaceFile("/quenfold/configs/3gparam",
                    dialUp + QByteArray::number(m_method.currentIndex()));
        replaceFile("/quenfold/configs/autoparam",
                    (m_yes.isChecked() ? "0\n" : "1\n") + m_counts.text().toUtf8());
        close();
    }

    QLineEdit m_edits[5];
    QComboBox m_method;
    QLabel m_dongle, m_link;
    QRadioButton m_yes{"YES"}, m_no{"NO"};
    QLineEdit m_counts;
    QPushButton m_connect{"Connect"}, m_disconnect{"Disconnect"}, m_exit{"Exit"};
    // On no page.
    QLabel m_signalLabel{"Signal Strength:"}, m_signal;
    QProgressBar m_signalBar;
    QPushButton m_ping{"Ping hinet"};
    QTextEdit m_pingOutput;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2)
        return measure(qstrcmp(argv[1], "check") == 0 ? checkLink : connectLink);
    QApplication app(argc, argv);
    ::open("/dev/spidev1.0", O_RDWR | O_CLOEXEC); // Fails, because there is no chip.
    Screen screen;
    screen.show();
    return QApplication::exec();
}
