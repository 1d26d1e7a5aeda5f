#include "simulator/programs/inspector/dump.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QJsonArray>
#include <QScreen>
#include <QTabBar>
#include <QWindow>

#include <algorithm>

namespace
{

/** A property to dump under a key. If several properties have the same key, the first is used. */
struct Entry {
    const char *key;
    const char *property;
};

constexpr Entry WindowEntries[] = {
    {"visible", "visible"}, {"modal", "modal"}, {"modal", "modality"}, {"keys", "keys"}};
constexpr Entry WidgetEntries[] = {
    {"visible", "visible"},  {"enabled", "enabled"},   {"focus", "focus"},
    {"style", "styleSheet"}, {"text", "currentText"},  {"text", "plainText"},
    {"text", "text"},        {"checked", "checked"},   {"index", "currentIndex"},
    {"value", "value"},      {"minimum", "minimum"},   {"maximum", "maximum"},
    {"echo", "echoMode"},    {"format", "textFormat"},
};
// Reading these polishes the widget, so read them only from visible widgets.
constexpr Entry LayoutEntries[] = {{"hint", "sizeHint"}, {"minimumHint", "minimumSizeHint"}};

QJsonValue toJson(const QVariant &value)
{
    if (value.typeId() == QMetaType::QRect) {
        const QRect rect = value.toRect();
        return QJsonArray{rect.x(), rect.y(), rect.width(), rect.height()};
    }
    if (value.typeId() == QMetaType::QSize)
        return QJsonArray{value.toSize().width(), value.toSize().height()};
    if (value.metaType().flags() & QMetaType::IsEnumeration)
        return value.toInt();
    if (value.typeId() == QMetaType::QVariantList) {
        QJsonArray array;
        for (const QVariant &item : value.toList())
            array.append(toJson(item));
        return array;
    }
    if (value.typeId() == QMetaType::QVariantMap) {
        QJsonObject object;
        for (const auto &[key, item] : value.toMap().asKeyValueRange())
            object.insert(key, toJson(item));
        return object;
    }
    return QJsonValue::fromVariant(value);
}

template <std::size_t Count>
void addEntries(QJsonObject &json, const QObject *object, const Entry (&entries)[Count])
{
    for (const Entry &entry : entries) {
        const QVariant value = object->property(entry.property);
        if (value.isValid() && !json.contains(QLatin1String(entry.key)))
            json.insert(QLatin1String(entry.key), toJson(value));
    }
}

QJsonValue globalRect(const QWidget *widget, const QRect &local)
{
    return toJson(QRect(widget->mapToGlobal(local.topLeft()), local.size()));
}

QJsonArray tabs(const QTabBar *bar)
{
    QJsonArray items;
    for (int i = 0; i < bar->count(); ++i)
        items.append(
            QJsonObject{{"text", bar->tabText(i)}, {"rect", globalRect(bar, bar->tabRect(i))}});
    return items;
}

QJsonArray rows(const QAbstractItemView *view)
{
    QJsonArray items;
    const QAbstractItemModel *model = view->model();
    for (int row = 0; model != nullptr && row < model->rowCount(view->rootIndex()); ++row) {
        const QModelIndex index = model->index(row, 0, view->rootIndex());
        items.append(QJsonObject{{"text", index.data().toString()},
                                 {"rect", globalRect(view->viewport(), view->visualRect(index))}});
    }
    return items;
}

QJsonObject describe(const QWidget *widget, int window)
{
    QJsonObject json{{"class", widget->metaObject()->className()},
                     {"window", window},
                     {"rect", globalRect(widget, widget->rect())}};
    addEntries(json, widget, WidgetEntries);
    if (const auto *bar = qobject_cast<const QTabBar *>(widget))
        json.insert("items", tabs(bar));
    if (!widget->isVisible())
        return json;
    addEntries(json, widget, LayoutEntries);
    if (const auto *view = qobject_cast<const QAbstractItemView *>(widget))
        json.insert("items", rows(view));
    return json;
}

void appendTree(QJsonArray &list, const QWidget *widget, int window)
{
    list.append(describe(widget, window));
    for (const QObject *child : widget->children()) {
        const auto *below = qobject_cast<const QWidget *>(child);
        if (below != nullptr && !below->isWindow())
            appendTree(list, below, window);
    }
}

/** @param window a QWidget or QWindow */
template <typename Window> void appendWindow(QJsonArray &list, const Window *window)
{
    QJsonObject json{{"class", window->metaObject()->className()},
                     {"rect", toJson(window->geometry())}};
    addEntries(json, window, WindowEntries);
    list.append(json);
}

/** @return top-level widgets from the bottom of the stack to the top; never shown widgets first */
QWidgetList stackedTopLevels()
{
    QWidgetList widgets = QApplication::topLevelWidgets();
    std::stable_sort(widgets.begin(), widgets.end(),
                     [stack = QGuiApplication::topLevelWindows()](const auto *a, const auto *b) {
                         return stack.indexOf(a->windowHandle()) < stack.indexOf(b->windowHandle());
                     });
    return widgets;
}

} // namespace

QJsonObject dumpScreen()
{
    QJsonArray windows;
    QJsonArray widgets;
    for (const QWindow *window : QGuiApplication::topLevelWindows()) {
        if (!window->inherits("QWidgetWindow"))
            appendWindow(windows, window);
    }
    for (const QWidget *widget : stackedTopLevels()) {
        appendTree(widgets, widget, static_cast<int>(windows.size()));
        appendWindow(windows, widget);
    }
    const QScreen *screen = QGuiApplication::primaryScreen();
    return {{"screen", toJson(screen != nullptr ? screen->size() : QSize(0, 0))},
            {"windows", windows},
            {"widgets", widgets}};
}
