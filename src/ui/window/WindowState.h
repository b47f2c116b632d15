#pragma once

#include <QObject>
#include <QTimer>

class QMainWindow;
class QSplitter;

namespace Korvane {

class TextZoom;

/// Remembers where the window was, how large, how its panes were divided and its text enlarged, in
/// a state file of its own: nothing of it is a setting.
///
/// What changed is written a moment after it came to rest, so that it is there however the program
/// ends. A file that is missing or damaged leaves the window as it is; one that can't be written
/// costs nothing but the memory.
class WindowState final : public QObject
{
    Q_OBJECT

public:
    /// $XDG_STATE_HOME/korvane/window.ini, by default below ~/.local/state.
    [[nodiscard]] static QString defaultPath();

    /// Gives \p window, not yet shown, and its splitters what they had. A splitter is known by its
    /// object name. \p window becomes the parent.
    WindowState(const QString &path, QMainWindow &window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restore();
    void save();

    const QString m_path;
    QMainWindow &m_window;
    QList<QSplitter *> m_splitters;
    TextZoom *m_zoom; // null without one
    QTimer m_rest;
};

} // namespace Korvane
