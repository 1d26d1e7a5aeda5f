// Application style: default font, disabled text and metrics that fit the screen on small panels,
// touch behaviour, and a frame-rate limit for busy bars.
#pragma once

#include <QElapsedTimer>
#include <QProxyStyle>
#include <QSize>

class QApplication;

/** Style metrics of a panel in pixels. Style sheets override them. */
struct PanelMetrics {
    int fontPixels;    ///< default font
    int layoutMargin;  ///< margin on each side of a layout
    int layoutSpacing; ///< spacing between rows and columns of a layout
};

/** Return the metrics for a panel. @param panel width and height in device pixels, any size */
[[nodiscard]] PanelMetrics panelMetrics(const QSize &panel);

class PanelStyle : public QProxyStyle
{
    Q_OBJECT

public:
    explicit PanelStyle(const PanelMetrics &metrics);

    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *returned) const override;
    using QProxyStyle::polish;
    void polish(QWidget *widget) override;

    /** Limit the frame rate of busy bars, so that a slow board has CPU time left for dialling. Move
     *  a combo box's list above its box. */
    bool eventFilter(QObject *watched, QEvent *event) override;

    /** Set the application's style and default font for the size of the primary screen, make
     *  disabled text readable, and install the double-tap filter. Call this before creating
     *  widgets. */
    static void apply(QApplication &app);

private:
    PanelMetrics m_metrics;
    QElapsedTimer m_lastFrame; ///< time since the busy bar's last frame; at most one bar is visible
};
