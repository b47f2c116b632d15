#pragma once

#include "app/Settings.h"

#include <QHash>

namespace Korvane {

/// Settings that last as long as this object.
class MemorySettings final : public Settings
{
public:
    bool flag(const QString &key) const override { return m_values[key] == QStringLiteral("true"); }
    int number(const QString &key) const override { return m_values[key].toInt(); }
    QString text(const QString &key) const override { return m_values[key]; }
    void setFlag(const QString &key, bool value) override
    {
        m_values[key] = value ? QStringLiteral("true") : QStringLiteral("false");
    }
    void setNumber(const QString &key, int value) override
    {
        m_values[key] = QString::number(value);
    }
    void setText(const QString &key, const QString &value) override { m_values[key] = value; }

private:
    QHash<QString, QString> m_values;
};

} // namespace Korvane
