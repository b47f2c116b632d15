#pragma once

#include "base/Records.h"

#include <QAbstractTableModel>

namespace Korvane {

/// The rows of the Variables table, one per variable and in their order.
class VariablesModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name, Type, Value };
    static constexpr int columns = Value + 1;

    using QAbstractTableModel::QAbstractTableModel;

    void setVariables(const QList<PythonVariable> &variables);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

private:
    QList<PythonVariable> m_variables;
};

} // namespace Korvane
