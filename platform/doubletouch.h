// No touch is a double one, and none selects text.
#pragma once

#include <QObject>

/**
 * An event filter for the application. Qt 6 takes the second of two touches at one place for a
 * double click however late it comes, Qt 6.8 that of two quick ones wherever it is. A field would
 * select a word, and the next key replace it. Here it becomes a press. In a line edit the text
 * cursor follows a finger or mouse that moves, without selecting.
 */
class DoubleTouch : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override;
};
