// Default font and style metrics that fit the whole screen on a small panel, a finger's habits, and
// how often a bar that shows no progress is painted.
#pragma once

#include <QElapsedTimer>
#include <QProxyStyle>
#include <QSize>

class QApplication;

/** Pixel measures of a panel. They hold where no style sheet says otherwise. */
struct PanelMetrics {
    int fontPixels;    ///< default font
    int layoutMargin;  ///< on each side of a layout
    int layoutSpacing; ///< between the rows and columns of a layout
};

/** Measures for a panel. @param panel width and height in device pixels, any size */
PanelMetrics panelMetrics(const QSize &panel);

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

    /** Leaves out frames of a moving progress bar: a slow board has to dial while it moves. */
    bool eventFilter(QObject *watched, QEvent *event) override;

    /** Gives the application the style and the default font of the primary screen's size, and has
     *  quick touches told from double ones. To be called before the first widget is created. */
    static void apply(QApplication &app);

private:
    PanelMetrics m_metrics;
    QElapsedTimer m_sinceFrame; ///< of a moving progress bar; there is one at a time
};
