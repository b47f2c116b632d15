#include "ui/variables/VariablesModel.h"

#include "base/VisibleText.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"

namespace Korvane {

void VariablesModel::setVariables(const QList<PythonVariable> &variables)
{
    beginResetModel();
    m_variables = variables;
    endResetModel();
}

int VariablesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_variables.size());
}

int VariablesModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columns;
}

QVariant VariablesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const PythonVariable &variable = m_variables[index.row()];
    const QString &text = index.column() == Name ? variable.name
        : index.column() == Type                 ? variable.type
                                                 : variable.value;
    switch (role) {
    case Qt::DisplayRole: {
        // A value may contain line ends; a row shows one line.
        QString line = text;
        return VisibleText::line(line.replace(u'\n', QStringLiteral("↵")));
    }
    case Qt::ToolTipRole:
        return PlainText::toolTip(text);
    case Qt::FontRole: {
        const QFont font = Theme::monospacedFont();
        return index.column() == Name ? Theme::headlineFont(font) : font;
    }
    case Qt::ForegroundRole:
        if (index.column() == Type)
            return Theme::current().color(Theme::Role::SecondaryLabel);
        return {};
    default:
        return {};
    }
}

QVariant VariablesModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::Alignment(Qt::AlignLeft | Qt::AlignVCenter));
    if (role != Qt::DisplayRole)
        return {};
    return section == Name ? tr("Name") : section == Type ? tr("Type") : tr("Value");
}

} // namespace Korvane
