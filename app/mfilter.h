// The application-wide event filter: Escape leaves a line edit.
#pragma once

#include <QObject>

class MFilter : public QObject
{
    Q_OBJECT

public:
    explicit MFilter(QObject *parent);

    /** Consumes Escape in a line edit and takes the focus from it. Passes every other event on. */
    bool eventFilter(QObject *watched, QEvent *event) override;
};
