#include "simulator/programs/inspector/dump.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QScreen>
#include <QTabBar>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace
{

QJsonArray rectToJson(const QRect &rect)
{
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

QJsonArray sizeToJson(const QSize &size)
{
    return {size.width(), size.height()};
}

QRect globalRect(const QWidget *widget, const QRect &local)
{
    return QRect(widget->mapToGlobal(local.topLeft()), local.size());
}

QJsonObject windowToJson(const QObject *window, const QString &title, const QRect &rect,
                         bool visible, bool modal)
{
    return {{"class", window->metaObject()->className()},
            {"title", title},
            {"rect", rectToJson(rect)},
            {"visible", visible},
            {"modal", modal}};
}

QJsonObject windowToJson(const QWidget *window)
{
    return windowToJson(window, window->windowTitle(), window->geometry(), window->isVisible(),
                        window->isModal());
}

QJsonObject windowToJson(const QWindow *window)
{
    return windowToJson(window, window->title(), window->geometry(), window->isVisible(),
                        window->modality() != Qt::NonModal);
}

QJsonArray tabsToJson(const QTabBar *bar)
{
    QJsonArray items;
    for (int i = 0; i < bar->count(); ++i)
        items.append(QJsonObject{{"text", bar->tabText(i)},
                                 {"rect", rectToJson(globalRect(bar, bar->tabRect(i)))}});
    return items;
}

QJsonArray rowsToJson(const QAbstractItemView *view)
{
    QJsonArray items;
    const QAbstractItemModel *model = view->model();
    for (int row = 0; model != nullptr && row < model->rowCount(view->rootIndex()); ++row) {
        const QModelIndex index = model->index(row, 0, view->rootIndex());
        const QRect rect = globalRect(view->viewport(), view->visualRect(index));
        items.append(QJsonObject{{"text", index.data().toString()}, {"rect", rectToJson(rect)}});
    }
    return items;
}

/** Copies the first of these properties that the widget has. */
void addProperty(QJsonObject &json, const QString &key, const QWidget *widget,
                 std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (widget->metaObject()->indexOfProperty(name) == -1)
            continue;
        json.insert(key, QJsonValue::fromVariant(widget->property(name)));
        return;
    }
}

void addContent(QJsonObject &json, const QWidget *widget)
{
    addProperty(json, "text", widget, {"currentText", "plainText", "text"});
    addProperty(json, "checked", widget, {"checked"});
    addProperty(json, "index", widget, {"currentIndex"});
    if (const auto *bar = qobject_cast<const QProgressBar *>(widget)) {
        json.insert("value", bar->value());
        json.insert("minimum", bar->minimum());
        json.insert("maximum", bar->maximum());
    }
    if (const auto *edit = qobject_cast<const QLineEdit *>(widget))
        json.insert("echo", edit->echoMode());
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        json.insert("format", label->textFormat());
    if (const auto *bar = qobject_cast<const QTabBar *>(widget))
        json.insert("items", tabsToJson(bar));
    const auto *view = qobject_cast<const QAbstractItemView *>(widget);
    if (view != nullptr && view->isVisible())
        json.insert("items", rowsToJson(view));
}

QJsonObject widgetToJson(const QWidget *widget, int window)
{
    QJsonObject json{{"class", widget->metaObject()->className()},
                     {"window", window},
                     {"rect", rectToJson(globalRect(widget, widget->rect()))},
                     {"visible", widget->isVisible()},
                     {"enabled", widget->isEnabled()},
                     {"focus", widget->hasFocus()},
                     {"style", widget->styleSheet()}};
    // sizeHint() polishes the widget, so call it for shown widgets only.
    if (widget->isVisible()) {
        json.insert("hint", sizeToJson(widget->sizeHint()));
        json.insert("minimumHint", sizeToJson(widget->minimumSizeHint()));
    }
    addContent(json, widget);
    return json;
}

/** @return top-level widgets from the bottom of the stack to its top, never shown ones first */
QWidgetList stackedTopLevels()
{
    const QWindowList stack = QGuiApplication::topLevelWindows();
    const auto level = [&stack](const QWidget *widget) {
        return stack.indexOf(widget->windowHandle());
    };
    QWidgetList widgets = QApplication::topLevelWidgets();
    std::sort(widgets.begin(), widgets.end(), [&level](const QWidget *a, const QWidget *b) {
        const QLatin1String classA(a->metaObject()->className());
        const QLatin1String classB(b->metaObject()->className());
        return std::make_pair(level(a), classA) < std::make_pair(level(b), classB);
    });
    return widgets;
}

bool isWidgetWindow(const QWindow *window)
{
    return window->inherits("QWidgetWindow");
}

/** Appends the keys of an on-screen keyboard, which its window describes in a property. */
void appendKeys(QJsonArray &keys, const QWindow *window)
{
    for (const QVariant &described : window->property("keys").toList()) {
        const QVariantMap key = described.toMap();
        const QRect rect = key.value("rect").toRect().translated(window->position());
        QJsonObject json = QJsonObject::fromVariantMap(key);
        json.insert("rect", rectToJson(rect));
        keys.append(json);
    }
}

void appendTree(QJsonArray &list, const QWidget *widget, int window)
{
    list.append(widgetToJson(widget, window));
    for (const QObject *child : widget->children()) {
        const auto *below = qobject_cast<const QWidget *>(child);
        if (below != nullptr && !below->isWindow())
            appendTree(list, below, window);
    }
}

} // namespace

QJsonObject dumpScreen()
{
    QJsonArray windows;
    QJsonArray widgets;
    QJsonArray keys;
    for (const QWindow *window : QGuiApplication::topLevelWindows()) {
        if (isWidgetWindow(window))
            continue;
        windows.append(windowToJson(window));
        if (window->isVisible())
            appendKeys(keys, window);
    }
    for (const QWidget *widget : stackedTopLevels()) {
        appendTree(widgets, widget, static_cast<int>(windows.size()));
        windows.append(windowToJson(widget));
    }
    const QScreen *screen = QGuiApplication::primaryScreen();
    return {{"screen", screen != nullptr ? sizeToJson(screen->size()) : QJsonArray{0, 0}},
            {"keys", keys},
            {"windows", windows},
            {"widgets", widgets}};
}
