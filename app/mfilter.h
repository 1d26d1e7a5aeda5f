// Application-wide event filter: Escape removes the focus from a line edit.
#pragma once

#include <QObject>

class MFilter : public QObject
{
    Q_OBJECT

public:
    explicit MFilter(QObject *parent);

    /** Consume Escape in a line edit and clear its focus; let all other events pass. */
    bool eventFilter(QObject *watched, QEvent *event) override;
};
