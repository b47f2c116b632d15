#pragma once

#include "app/Settings.h"

#include <QHash>
#include <QVariant>

namespace Korvane {

/// Settings that last as long as this object.
class MemorySettings final : public Settings
{
public:
    bool flag(const QString &key) const override { return m_values[key].toBool(); }
    int number(const QString &key) const override { return m_values[key].toInt(); }
    QString text(const QString &key) const override { return m_values[key].toString(); }
    void setFlag(const QString &key, bool value) override { m_values[key] = value; }
    void setNumber(const QString &key, int value) override { m_values[key] = value; }
    void setText(const QString &key, const QString &value) override { m_values[key] = value; }
    void remove(const QString &key) override { m_values.remove(key); }

private:
    QHash<QString, QVariant> m_values;
};

} // namespace Korvane
