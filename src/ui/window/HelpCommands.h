#pragma once

#include <QObject>

class QMainWindow;

namespace Korvane {

/// The menu Help.
class HelpCommands final : public QObject
{
    Q_OBJECT

public:
    /// Adds the menu at the end of the bar of \p window, which becomes the parent.
    explicit HelpCommands(QMainWindow &window);

private:
    void openGuide();
    void showAbout();

    QMainWindow &m_window;
};

} // namespace Korvane
