// The main window. Its construction is the whole start-up of the dial-up application.
#pragma once

#include <QWidget>

class DetectMsg;

class Widget : public QWidget
{
    Q_OBJECT

public:
    /** Performs the start-up. It returns when the modem's serial device node exists, however long
     *  that takes. Timers, signals and the waiting dialog are served meanwhile. The window is not
     *  visible yet. */
    explicit Widget(QWidget *parent = nullptr);
    ~Widget() override;

private:
    void waitForDongle();

    DetectMsg *detectMsg = nullptr; ///< the waiting dialog of the start-up, if it was needed
};
