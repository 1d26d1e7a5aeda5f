#include "platform/keyboard/keypainter.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

using keyboardlayout::Action;
using keyboardlayout::Shift;

namespace
{

constexpr QRgb Gap = qRgb(0x84, 0x84, 0x84);
constexpr QRgb TypingFace = qRgb(0xfa, 0xfa, 0xfa);
constexpr QRgb OtherFace = qRgb(0xc4, 0xc7, 0xcb);
constexpr QRgb ShiftedFace = qRgb(0x80, 0x80, 0xc0);
constexpr QRgb LockedFace = qRgb(0x40, 0x40, 0x90);

// Symbols are drawn in units relative to the centre of the key; a character is about 14 units high.
constexpr qreal LineWidth = 2;

QPainterPath lines(std::initializer_list<QPointF> points)
{
    QPainterPath path(*points.begin());
    for (const QPointF *point = points.begin() + 1; point != points.end(); ++point)
        path.lineTo(*point);
    return path;
}

QPainterPath shiftSymbol()
{
    return lines({{0, -9}, {9, 0}, {4, 0}, {4, 6}, {-4, 6}, {-4, 0}, {-9, 0}, {0, -9}});
}

/** Return the symbol of a key without text. */
QPainterPath symbol(const keyboardlayout::Key &key)
{
    QPainterPath path;
    switch (key.action) {
    case Action::Backspace:
        path = lines({{-12, 0}, {-5, -7}, {10, -7}, {10, 7}, {-5, 7}, {-12, 0}});
        path.addPath(lines({{-2, -3}, {4, 3}}));
        path.addPath(lines({{4, -3}, {-2, 3}}));
        break;
    case Action::Enter:
        path = lines({{10, -8}, {10, 2}, {-10, 2}});
        path.addPath(lines({{-5, -3}, {-10, 2}, {-5, 7}}));
        break;
    case Action::Hide:
        path = lines({{-8, -6}, {0, 2}, {8, -6}});
        path.addPath(lines({{-8, 7}, {8, 7}}));
        break;
    case Action::Shift:
        path = shiftSymbol();
        break;
    case Action::Character: // the space bar
        path = lines({{-18, 1}, {-18, 5}, {18, 5}, {18, 1}});
        break;
    case Action::SwitchPage:
        break;
    }
    return path;
}

QRgb keyColour(const keyboardlayout::Key &key, Shift shift)
{
    if (key.action == Action::Shift && shift != Shift::Off)
        return shift == Shift::Locked ? LockedFace : ShiftedFace;
    return key.action == Action::Character && key.name != QLatin1String(" ") ? TypingFace
                                                                             : OtherFace;
}

/** Mix two colours in equal parts, to dim a pressed key. */
QColor mixed(QRgb colour, QRgb with)
{
    return QColor((qRed(colour) + qRed(with)) / 2, (qGreen(colour) + qGreen(with)) / 2,
                  (qBlue(colour) + qBlue(with)) / 2);
}

} // namespace

KeyPainter::KeyPainter(int height)
    : m_font(QGuiApplication::font()), m_margin(qMax(1, qRound(height / 96.0))),
      m_rounding(height / 36), m_unit(height / 150.0)
{
    m_font.setPixelSize(qMax(1, qRound(height / 8.0)));
}

void KeyPainter::paint(QPainter &painter, const keyboardlayout::Key &key, Shift shift,
                       bool held) const
{
    paintGap(painter, key.rect);
    const QRgb colour = keyColour(key, shift);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(held ? mixed(colour, Gap) : QColor(colour));
    painter.drawRoundedRect(key.rect.adjusted(m_margin, m_margin, -m_margin, -m_margin), m_rounding,
                            m_rounding);
    const bool hasText = key.action == Action::Character || key.action == Action::SwitchPage;
    if (!hasText || key.name == QLatin1String(" ")) {
        paintSymbol(painter, key, shift);
        return;
    }
    painter.setFont(m_font);
    painter.setPen(Qt::black);
    painter.drawText(key.rect, Qt::AlignCenter, keyboardlayout::typedText(key, shift));
}

void KeyPainter::paintGap(QPainter &painter, const QRect &rect)
{
    painter.fillRect(rect, QColor(Gap));
}

void KeyPainter::paintSymbol(QPainter &painter, const keyboardlayout::Key &key, Shift shift) const
{
    const bool locked = key.action == Action::Shift && shift == Shift::Locked;
    const QColor colour(locked ? Qt::white : Qt::black);
    painter.save();
    painter.translate(QRectF(key.rect).center());
    painter.scale(m_unit, m_unit);
    painter.setPen(QPen(colour, LineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    if (key.action == Action::Shift && shift != Shift::Off)
        painter.setBrush(colour);
    painter.drawPath(symbol(key));
    if (locked)
        painter.drawLine(QPointF(-5, 10), QPointF(5, 10));
    painter.restore();
}
