// The main window. Its constructor performs the start-up.
#pragma once

#include <QWidget>

class DetectMsg;

class Widget : public QWidget
{
    Q_OBJECT

public:
    /** Perform the start-up. Return when the modem's device node exists or a termination signal has
     *  arrived; there is no timeout. Events are processed meanwhile. The window is not yet shown.
     */
    explicit Widget(QWidget *parent = nullptr);
    ~Widget() override;

private:
    void waitForDongle();

    DetectMsg *detectMsg = nullptr; ///< start-up dialog that waits for the dongle; may be null
};
