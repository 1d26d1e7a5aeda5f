// Paints keys. Symbols are drawn as lines, because fonts may lack them.
#pragma once

#include "platform/keyboard/keyboardlayout.h"

#include <QFont>

class QPainter;

class KeyPainter
{
public:
    /** @param height keyboard height in pixels; scales all other dimensions */
    explicit KeyPainter(int height);

    /** Paint the whole rectangle of a key. @param held true while the key is pressed */
    void paint(QPainter &painter, const keyboardlayout::Key &key, keyboardlayout::Shift shift,
               bool held) const;

    /** Paint the space around the keys. */
    static void paintGap(QPainter &painter, const QRect &rect);

private:
    void paintSymbol(QPainter &painter, const keyboardlayout::Key &key,
                     keyboardlayout::Shift shift) const;

    QFont m_font;
    int m_margin;   ///< distance of a key's face from the edge of its rectangle
    int m_rounding; ///< corner radius of a key's face
    qreal m_unit;   ///< length of one unit of the symbols, in pixels
};
