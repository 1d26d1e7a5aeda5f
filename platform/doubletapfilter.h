// Turns double-clicks into presses and drags into cursor movements, so that no touch selects text.
#pragma once

#include <QObject>

/**
 * Application event filter. Qt 6 reports the second of two touches at the same place as a
 * double-click however late it comes, and Qt 6.8 also the second of two quick touches at different
 * places. A line edit would select a word, which the next key would replace. This filter replaces
 * the double-click with a press. In a line edit, a drag moves the text cursor without selecting.
 */
class DoubleTapFilter : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override;
};
