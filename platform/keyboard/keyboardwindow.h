// The window of the keys: along the panel's bottom edge, as high as the keys, without the focus.
#pragma once

#include <QQmlEngine>
#include <QQuickWindow>

#include <memory>

class QQuickItem;

class KeyboardWindow : public QQuickWindow
{
    Q_OBJECT

public:
    /**
     * Loads the keys; shows nothing yet.
     * @param fault gets why there is no keyboard
     * @return null when the keyboard's library or one of its modules cannot be used
     */
    static std::unique_ptr<KeyboardWindow> create(QString *fault);
    ~KeyboardWindow() override;

private slots:
    void fit();

private:
    KeyboardWindow();
    bool load(QString *fault);

    QQmlEngine m_engine;
    QQuickItem *m_panel = nullptr; ///< the keys, owned by the window's content
};
