#include "platform/panelstyle.h"

#include "platform/doubletouch.h"
#include "platform/screen.h"

#include <QApplication>
#include <QEvent>
#include <QFont>
#include <QProgressBar>

namespace
{

constexpr int SmallPanelHeight = 300;
constexpr int LargePanelHeight = 700;
constexpr int FrameMs = 100; // Qt alone would paint up to 60 in a second.

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
        return RSIP_OnMouseClick; // The first touch of a field is a wish to type.
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

void PanelStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    if (qobject_cast<QProgressBar *>(widget) != nullptr)
        widget->installEventFilter(this);
}

bool PanelStyle::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::StyleAnimationUpdate)
        return QProxyStyle::eventFilter(watched, event);
    if (!m_sinceFrame.isValid() || m_sinceFrame.hasExpired(FrameMs)) {
        m_sinceFrame.start();
        return false; // The bar is painted; or Qt ends the animation, when it cannot be seen.
    }
    event->accept(); // It goes on.
    return true;
}

void PanelStyle::apply(QApplication &app)
{
    const PanelMetrics metrics = panelMetrics(deviceScreenSize());
    app.setStyle(new PanelStyle(metrics)); // The application owns its style.
    // The style sheets' family, or what fontconfig puts in its place: one look for all texts.
    QFont font(QStringLiteral("Microsoft JhengHei"));
    font.setPixelSize(metrics.fontPixels);
    app.setFont(font);
    app.installEventFilter(new DoubleTouch(&app));
}
