#pragma once

#include <QWidget>

class QPushButton;

namespace Korvane {

class AppState;
class WrappedLabel;

/// Shows above the editor that the file of the selected document was changed or deleted, by another
/// program or on its board, and offers to reload it or to keep the document's text. Hidden
/// otherwise.
class FileChangeBar final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit FileChangeBar(AppState &state, QWidget *parent = nullptr);

private:
    void updateState();

    AppState &m_state;
    WrappedLabel *m_text;
    QPushButton *m_reload;
    QPushButton *m_keep;
};

} // namespace Korvane
