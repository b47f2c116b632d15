#pragma once

#include "base/Async.h"
#include "board/BoardRecords.h"
#include "ui/browser/BrowserPane.h"

namespace Korvane {

class AppState;
class MessagePage;
class SpaceFooter;

/// The folder of the board that is being browsed, one level at a time.
class DeviceFileBrowserView final : public BrowserPane
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit DeviceFileBrowserView(AppState &state, QWidget *parent = nullptr);

    [[nodiscard]] Abilities abilities() const override;
    void openSelected() override;
    void copySelected() override;
    void deleteSelected() override;
    void createFile() override;
    void createFolder() override;

protected:
    void showEvent(QShowEvent *event) override;
    [[nodiscard]] std::unique_ptr<QMimeData> dragData() const override;
    void nameEdited(const QString &oldName, const QString &newName) override;
    [[nodiscard]] QString nameProblem(const QString &name) const override;
    void paste(const QMimeData &dropped) override;
    [[nodiscard]] QString dropFolder(int row) const override;
    [[nodiscard]] bool isFolder(int row) const override;
    [[nodiscard]] QString enclosingFolder() const override;
    [[nodiscard]] bool accepts(const QMimeData &dropped) const override;
    [[nodiscard]] Qt::DropAction dropAction(const QMimeData &dropped,
                                            const QString &folder) const override;
    void drop(const QMimeData &dropped, const QString &folder) override;

private:
    void showState();
    void showEntries();
    void showSendHelp();
    void showSpace();
    void requestSpace();
    void open(const DeviceFileNode &node);
    void report(Async<void> operation);
    [[nodiscard]] QList<DeviceFileNode> selectedNodes() const;
    /// A board is connected and runs no program, so that its files can be changed.
    [[nodiscard]] bool isFree() const;

    AppState &m_state;
    QToolButton *m_send;
    MessagePage *m_noBoardPage;
    MessagePage *m_emptyPage;
    MessagePage *m_failedPage;
    QWidget *m_loadingPage;
    SpaceFooter *m_space;
    /// The entries of the rows; shares the data of the listing.
    QList<DeviceFileNode> m_nodes;
};

} // namespace Korvane
