#pragma once

#include <QWidget>

#include <array>

class QLabel;
class QStackedWidget;
class QTableView;

namespace Korvane {

class AppState;
class ElidedLabel;
class VariablesModel;

/// The Variables pane: the table, the interpreter that its rows were read from, and a hint while it
/// is empty.
class VariablesView final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit VariablesView(AppState &state, QWidget *parent = nullptr);

    /// Gives the table the focus; false when it has no rows.
    bool focusTable();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void showVariables();
    void showSource();
    [[nodiscard]] QWidget *makeHeader();
    [[nodiscard]] QWidget *makeEmptyState();
    void setUpTable();
    void fillTable();
    void fitColumns();

    AppState &m_state;
    VariablesModel *m_model;
    QTableView *m_table;
    QStackedWidget *m_body;
    QWidget *m_emptyState;
    ElidedLabel *m_caption;
    QLabel *m_emptyHint;
    bool m_columnsFitted = false;
    bool m_isFitting = false;
    std::array<int, 2> m_wantedWidths{180, 120}; // of the names and of the types
};

} // namespace Korvane
