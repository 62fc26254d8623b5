#pragma once
// Watches one settings path. changed(new, old) is emitted in the item's own thread after the root
// stored a new value at the path. Create and use it in one thread.
#include <QObject>

#include "CMPath.h"
#include "KeloValue.h"

class CMValueItem : public QObject
{
    Q_OBJECT
public:
    CMValueItem(QObject* parent, const CMPath& path);
    CMPath path() const { return m_path; }
    KeloValue value() const;  // the value now stored at the path

signals:
    void changed(const KeloValue& newValue, const KeloValue& oldValue);

private slots:
    void on_root_valueChanged(const CMPath& path, const KeloValue& newValue, const KeloValue& oldValue);

private:
    CMPath m_path;
};
