#pragma once

#include "base/Background.h"

#include <QObject>
#include <QTimer>

class QMainWindow;
class QSplitter;

namespace Korvane {

class TextZoom;

/// Stores the geometry of the window, the sizes of its panes and the zoom in a state file of its
/// own, apart from the settings.
///
/// The file is written half a second after the last change, so that the state is kept when the
/// program crashes. A file that is missing or damaged changes nothing; when it can't be written,
/// the state is lost.
class WindowState final : public QObject
{
    Q_OBJECT

public:
    /// $XDG_STATE_HOME/korvane/window.ini, by default below ~/.local/state.
    [[nodiscard]] static QString defaultPath();

    /// Restores the state of \p window, not yet shown, and of its splitters. A splitter is
    /// identified by its object name. \p window becomes the parent.
    WindowState(const QString &path, QMainWindow &window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restore();
    QCoro::Task<void> save();

    const QString m_path;
    QMainWindow &m_window;
    QList<QSplitter *> m_splitters;
    TextZoom *m_zoom; // null without one
    QTimer m_saveDelay;
    Background m_writer{1}; // in order
};

} // namespace Korvane
