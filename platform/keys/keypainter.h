// How a key looks. Signs are drawn as lines, so that no font has to have them.
#pragma once

#include "platform/keys/keylayout.h"

#include <QFont>

class QPainter;

class KeyPainter
{
public:
    /** @param height in pixels of all keys together: all measures follow it */
    explicit KeyPainter(int height);

    /** Paints every pixel of a key's rectangle. @param held whether a finger is on it */
    void paint(QPainter &painter, const keylayout::Key &key, keylayout::Shift shift,
               bool held) const;

    /** Paints what is between and beside the keys. */
    static void paintGap(QPainter &painter, const QRect &rect);

private:
    void paintSign(QPainter &painter, const keylayout::Key &key, keylayout::Shift shift) const;

    QFont m_font;
    int m_margin;   ///< between a key's face and the edge of its rectangle
    int m_rounding; ///< radius of the face's corners
    qreal m_unit;   ///< of the signs
};
