// The main window. Its construction is the whole start-up of the dial-up application.
#pragma once

#include <QWidget>

class DetectMsg;

class Widget : public QWidget
{
    Q_OBJECT

public:
    /** Returns when the modem's serial device node exists, however long that takes; touches,
     *  timers and signals are served meanwhile. */
    explicit Widget(QWidget *parent = nullptr);
    ~Widget() override;

private:
    void waitForDongle();

    DetectMsg *detectMsg = nullptr; ///< the waiting dialog of the start-up, if it was needed
};
