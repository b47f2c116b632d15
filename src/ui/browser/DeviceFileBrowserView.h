#pragma once

#include "board/BoardRecords.h"
#include "ui/browser/BrowserPane.h"

namespace Korvane {

class AppState;
class MessagePage;

/// The folder of the board that is being browsed, one level at a time.
class DeviceFileBrowserView final : public BrowserPane
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit DeviceFileBrowserView(AppState &state, QWidget *parent = nullptr);

private:
    void showState();
    void showEntries();
    void showSendHelp();
    void goToEnclosingFolder();
    void open(const DeviceFileNode &node);
    void openMenu(const DeviceFileNode &node);

    AppState &m_state;
    QToolButton *m_send;
    MessagePage *m_noBoardPage;
    MessagePage *m_emptyPage;
    MessagePage *m_failedPage;
    QWidget *m_loadingPage;
    /// What the rows stand for; the listing's own list, shared.
    QList<DeviceFileNode> m_nodes;
};

} // namespace Korvane
