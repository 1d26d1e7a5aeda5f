// When the keyboard comes and goes, and what moves so that the field stays in sight.
//
// It comes when a finger is lifted from a line edit. It goes on Enter and on its hide key, as Qt
// has it, when the edit loses the focus, and at once when a dialog opens. As long as a finger is on
// the screen nothing moves under it, dialogs excepted.
#pragma once

#include "touchguard.h"

#include <QObject>
#include <QPoint>
#include <QPointer>

class QLineEdit;
class QWidget;
class QWindow;

class OnScreenKeyboard : public QObject
{
    Q_OBJECT

public:
    /** @param keys the window of the keys, at its place but hidden; it must outlive this object */
    explicit OnScreenKeyboard(QWindow &keys);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isWanted() const;
    void settle();
    void settleSoon();
    void bringUp();
    void putAway();
    void lift(QWidget *window, int shift);
    void move(QWidget &window, const QPoint &position);

    QWindow &m_keys;
    TouchGuard m_guard;
    QPointer<QLineEdit> m_edit; ///< the edit that a finger has touched, to type into
    bool m_fingerDown = false;
    QPointer<QWidget> m_lifted; ///< the window that makes room for the keys
    QPoint m_rest;              ///< where that window belongs
};
