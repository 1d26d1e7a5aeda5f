// The least that any program with this screen costs on the same libraries: the same widgets, the
// same style sheets in the same order, the start's probes and Exit's files in their barest form,
// and nothing else: neither a font nor a style of its own.
#include <libusb.h>

#include <QtWidgets>
#include <fcntl.h>
#include <unistd.h>

namespace
{

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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

bool succeeds(const char *commandLine)
{
    return std::system(commandLine) == 0;
}

void replace(const char *path, const QByteArray &content)
{
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    [[maybe_unused]] const ssize_t written = ::write(file, content.constData(), content.size());
    ::fsync(file);
    ::close(file);
}

/** Everything on the screen, and what is on no page of it. */
class Screen : public QWidget
{
public:
    Screen()
    {
        setWindowFlags(Qt::FramelessWindowHint);
        const QSize panel = screen()->size();
        auto *tabs = new QTabWidget(this);
        tabs->addTab(settingPage(panel.height() == 800), "3G/4G Setting");
        tabs->addTab(statusPage(), "3G/4G Status");
        tabs->addTab(miscPage(), "Misc Setting");
        auto *buttons = new QHBoxLayout;
        for (QPushButton *button : {&m_connect, &m_disconnect, &m_exit})
            buttons->addWidget(button);
        connect(&m_exit, &QPushButton::clicked, this, &Screen::leave);
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(tabs);
        layout->addLayout(buttons);
        resize(panel);
        qApp->setStyleSheet(QString::fromUtf8(contentOf(":/styles/global.qss")));
        const QHash<int, int> profiles{{272, 4}, {480, 7}, {800, 10}};
        setStyleSheet(QString::fromUtf8(
            contentOf(QString(":/styles/profile%1.qss").arg(profiles.value(panel.height())))));
        showParameters();
        probe();
    }

private:
    QWidget *settingPage(bool large)
    {
        const char *const texts[] = {"APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:"};
        auto *page = new QWidget;
        auto *grid = new QGridLayout(page);
        for (int row = 0; row < 5; ++row) {
            grid->addWidget(new QLabel(texts[row]), row, 0);
            grid->addWidget(&m_edits[row], row, 1);
        }
        m_edits[3].setEchoMode(QLineEdit::Password);
        grid->addWidget(new QLabel("APN Auth Methods:"), 5, 0);
        grid->addWidget(&m_method, 5, 1);
        m_method.addItems({"AUTO", "PAP", "CHAP"});
        if (large) {
            grid->setRowStretch(6, 1);
            grid->setContentsMargins(10, 30, 0, 0);
            grid->setVerticalSpacing(30);
        }
        return page;
    }

    QWidget *statusPage()
    {
        auto *page = new QWidget;
        auto *grid = new QGridLayout(page);
        grid->addWidget(new QLabel("Dongle Status:"), 0, 0);
        grid->addWidget(&m_dongle, 0, 1);
        grid->addWidget(new QLabel("PPP Status:"), 1, 0);
        grid->addWidget(&m_link, 1, 1);
        loosen(grid, 2);
        return page;
    }

    QWidget *miscPage()
    {
        auto *page = new QWidget;
        auto *grid = new QGridLayout(page);
        grid->addWidget(new QLabel("Auto Connect:"), 0, 0);
        grid->addWidget(&m_yes, 0, 1);
        grid->addWidget(&m_no, 0, 2);
        grid->addWidget(new QLabel("Counts:"), 1, 0);
        grid->addWidget(&m_counts, 1, 1, 1, 2);
        loosen(grid, 3);
        return page;
    }

    static void loosen(QGridLayout *grid, int stretchColumn)
    {
        grid->setRowStretch(2, 1);
        grid->setColumnStretch(stretchColumn, 1);
        grid->setContentsMargins(10, 20, 0, 0);
        grid->setVerticalSpacing(15);
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
        succeeds("ls /dev | grep ttyUSB");
        const bool up = succeeds("ifconfig | grep ppp");
        m_connect.setEnabled(!up);
        m_disconnect.setEnabled(up);
        if (isDonglePresent() && succeeds("ls /dev | grep ttyUSB")) {
            m_dongle.setText("detected");
            m_dongle.setStyleSheet("color:green;");
        }
        m_link.setText(up ? "connected" : "disconnected");
        m_link.setStyleSheet(up ? "color:green;" : "color:red;");
    }

    void leave()
    {
        for (const char *log : {"/etc/ppp/ppp.log", "/etc/ppp/chat.log"})
            ::rename(log, (QByteArray(log) + ".old").constData());
        QByteArray dialUp;
        for (const QLineEdit &edit : m_edits)
            dialUp += edit.text().toUtf8() + '\n';
        replace("/quenfold/configs/3gparam", dialUp + QByteArray::number(m_method.currentIndex()));
        replace("/quenfold/configs/autoparam",
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
    QApplication app(argc, argv);
    ::open("/dev/spidev1.0", O_RDWR | O_CLOEXEC); // There is no chip.
    Screen screen;
    screen.show();
    return QApplication::exec();
}
