// Two touches at different places are no double touch.
#pragma once

#include <QObject>
#include <QPointF>

/**
 * An event filter for the application. Qt 6.8 takes the second of two quick touches for a double
 * click wherever it is, and a tab or a field does not take that for a touch. Far from the press
 * before, it becomes a press here.
 */
class DoubleTouch : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QPointF m_pressed; ///< where the last press was, in pixels of the screen
    QPointF m_before;  ///< and the one before it
};
