#include "platform/panelstyle.h"

#include "platform/doubletapfilter.h"
#include "platform/screen.h"

#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QFont>
#include <QPalette>
#include <QProgressBar>
#include <chrono>

namespace
{

constexpr int SmallPanelHeight = 300;
constexpr int LargePanelHeight = 700;
constexpr std::chrono::milliseconds FrameInterval{100}; // 10 frames per second; Qt paints up to 60.
// Contrast of 4.7 or more on the backgrounds of the style sheets; that of Fusion is below 2.
constexpr QRgb DisabledText = qRgb(0x58, 0x58, 0x58);

/** Return the combo box if a widget is its list, or null. */
const QComboBox *boxOf(const QWidget *widget)
{
    return widget->isWindow() ? qobject_cast<const QComboBox *>(widget->parentWidget()) : nullptr;
}

/** Move a combo box's list above the box. Below it are the push buttons, where the second touch of
 *  a double tap would press one. */
void moveAbove(const QComboBox *box, QWidget *list)
{
    const int top = box->mapToGlobal(QPoint(0, 0)).y();
    list->move(list->x(), qMax(0, top - list->height()));
}

} // namespace

PanelMetrics panelMetrics(const QSize &panel)
{
    if (panel.height() < SmallPanelHeight)
        return {14, 4, 3};
    if (panel.height() < LargePanelHeight)
        return {14, 9, 6};
    return {16, 11, 8};
}

PanelStyle::PanelStyle(const PanelMetrics &metrics)
    : QProxyStyle(QStringLiteral("fusion")), m_metrics(metrics)
{
}

int PanelStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                            const QWidget *widget) const
{
    switch (metric) {
    case PM_LayoutLeftMargin:
    case PM_LayoutTopMargin:
    case PM_LayoutRightMargin:
    case PM_LayoutBottomMargin:
        return m_metrics.layoutMargin;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing:
        return m_metrics.layoutSpacing;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int PanelStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *returned) const
{
    if (hint == SH_RequestSoftwareInputPanel)
        return RSIP_OnMouseClick; // Request the keyboard on the first touch of a field.
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

void PanelStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (boxOf(widget) != nullptr || qobject_cast<QProgressBar *>(widget) != nullptr)
        widget->installEventFilter(this);
}

bool PanelStyle::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        auto *list = static_cast<QWidget *>(watched);
        if (const QComboBox *box = boxOf(list))
            moveAbove(box, list);
    }
    if (event->type() != QEvent::StyleAnimationUpdate)
        return QProxyStyle::eventFilter(watched, event);
    if (!m_lastFrame.isValid() || m_lastFrame.hasExpired(FrameInterval.count())) {
        m_lastFrame.start();
        return false; // Let Qt paint the frame, or stop the animation if the bar is hidden.
    }
    event->accept(); // Skip this frame; the animation continues.
    return true;
}

void PanelStyle::apply(QApplication &app)
{
    const PanelMetrics metrics = panelMetrics(deviceScreenSize());
    app.setStyle(new PanelStyle(metrics)); // The application owns its style.
    // Use the font family of the style sheets, or its fontconfig substitute, for all texts.
    QFont font(QStringLiteral("Microsoft JhengHei"));
    font.setPixelSize(metrics.fontPixels);
    app.setFont(font);
    QPalette palette = app.palette();
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(DisabledText));
    app.setPalette(palette);
    app.installEventFilter(new DoubleTapFilter(&app));
}
