#include "CMValueItem.h"

#include "CMGlobal.h"
#include "CMRoot.h"
#include "KeloLog.h"

// Automatic connection: a value set in another thread reaches the item queued, in its own thread.
CMValueItem::CMValueItem(QObject* parent, const CMPath& path) : QObject(parent), m_path(path.base())
{
    CMRootWorker* root = CMRoot();
    if (!root) {
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "no root: the value item on " << m_path.toEncoded() << " will never change");
        return;
    }
    CMGlobal::connect(root, &CMRootWorker::valueChanged, this, &CMValueItem::on_root_valueChanged);
}

KeloValue CMValueItem::value() const
{
    CMRootWorker* root = CMRoot();
    return root ? root->value(m_path) : KeloValue();
}

void CMValueItem::on_root_valueChanged(const CMPath& path, const KeloValue& newValue, const KeloValue& oldValue)
{
    if (path.base() == m_path)
        emit changed(newValue, oldValue);
}
