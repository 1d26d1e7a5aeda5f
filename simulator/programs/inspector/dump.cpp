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

constexpr Entry Entries[] = {
    {"visible", "visible"},  {"enabled", "enabled"},   {"focus", "focus"},
    {"modal", "modal"},      {"modal", "modality"},    {"keys", "keys"},
    {"style", "styleSheet"}, {"text", "currentText"},  {"text", "plainText"},
    {"text", "text"},        {"checked", "checked"},   {"index", "currentIndex"},
    {"value", "value"},      {"minimum", "minimum"},   {"maximum", "maximum"},
    {"echo", "echoMode"},    {"format", "textFormat"},
};

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

/** @param rect the object's rectangle on the screen */
QJsonObject describe(const QObject *object, const QRect &rect)
{
    QJsonObject json{{"class", object->metaObject()->className()}, {"rect", toJson(rect)}};
    for (const Entry &entry : Entries) {
        const QVariant value = object->property(entry.property);
        if (value.isValid() && !json.contains(QLatin1String(entry.key)))
            json.insert(QLatin1String(entry.key), toJson(value));
    }
    return json;
}

QRect globalRect(const QWidget *widget, const QRect &local)
{
    return QRect(widget->mapToGlobal(local.topLeft()), local.size());
}

QJsonObject item(const QString &text, const QWidget *widget, const QRect &local)
{
    return {{"text", text}, {"rect", toJson(globalRect(widget, local))}};
}

QJsonArray tabs(const QTabBar *bar)
{
    QJsonArray items;
    for (int i = 0; i < bar->count(); ++i)
        items.append(item(bar->tabText(i), bar, bar->tabRect(i)));
    return items;
}

QJsonArray rows(const QAbstractItemView *view)
{
    QJsonArray items;
    const QAbstractItemModel *model = view->model();
    for (int row = 0; model != nullptr && row < model->rowCount(view->rootIndex()); ++row) {
        const QModelIndex index = model->index(row, 0, view->rootIndex());
        items.append(item(index.data().toString(), view->viewport(), view->visualRect(index)));
    }
    return items;
}

QJsonObject describeWidget(const QWidget *widget, int window)
{
    QJsonObject json = describe(widget, globalRect(widget, widget->rect()));
    json.insert("window", window);
    if (const auto *bar = qobject_cast<const QTabBar *>(widget))
        json.insert("items", tabs(bar));
    if (!widget->isVisible()) // The functions below would polish the widget.
        return json;
    json.insert("hint", toJson(widget->sizeHint()));
    json.insert("minimumHint", toJson(widget->minimumSizeHint()));
    if (const auto *view = qobject_cast<const QAbstractItemView *>(widget))
        json.insert("items", rows(view));
    return json;
}

void appendTree(QJsonArray &list, const QWidget *widget, int window)
{
    list.append(describeWidget(widget, window));
    for (const QObject *child : widget->children()) {
        const auto *below = qobject_cast<const QWidget *>(child);
        if (below != nullptr && !below->isWindow())
            appendTree(list, below, window);
    }
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
            windows.append(describe(window, window->geometry()));
    }
    for (const QWidget *widget : stackedTopLevels()) {
        appendTree(widgets, widget, static_cast<int>(windows.size()));
        windows.append(describe(widget, widget->geometry()));
    }
    const QScreen *screen = QGuiApplication::primaryScreen();
    return {{"screen", toJson(screen != nullptr ? screen->size() : QSize(0, 0))},
            {"windows", windows},
            {"widgets", widgets}};
}
