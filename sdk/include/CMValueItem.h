#pragma once
// Watches one settings path (its query is ignored). changed(new, old) is emitted in the item's own
// thread after the root stored a value at the path; that thread needs an event loop when values are
// set from other threads. Create and use it in one thread, after the root exists.
#include <QObject>

#include "CMPath.h"
#include "KeloValue.h"

class CMValueItem : public QObject
{
    Q_OBJECT
public:
    CMValueItem(QObject* parent, const CMPath& path);
    CMPath path() const { return m_path; }  // without query
    KeloValue value() const;  // the value now stored at the path

signals:
    void changed(const KeloValue& newValue, const KeloValue& oldValue);

private slots:
    void on_root_valueChanged(const CMPath& path, const KeloValue& newValue, const KeloValue& oldValue);

private:
    CMPath m_path;
};
