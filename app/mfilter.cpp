#include "app/mfilter.h"

#include <QKeyEvent>
#include <QLineEdit>

MFilter::MFilter(QObject *parent) : QObject(parent) {}

bool MFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        auto *edit = qobject_cast<QLineEdit *>(watched);
        if (edit == nullptr)
            return false;
        edit->clearFocus();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
