#pragma once
// The worker of the test plug-in, prefix "test:". Its nodes behave in the ways a host must cope with:
//   test:echo     set-data answers {"received": <value>, "type": <its variant type name>}
//   test:refuse   refuses every set-data (the handler returns false)
//   test:fail     answers every set-data with the error {"name": "Failed", ...}
//   test:silent   keeps every set-data and never answers it (until the worker is destroyed)
// Lives in its own worker thread, like any plug-in worker.
#include <QList>

#include "CMNode.h"
#include "CMWorker.h"

class TestNode : public CMNode
{
    Q_OBJECT
public:
    enum class Behaviour { Echo, Refuse, Fail, Silent };
    TestNode(const CMPath& path, Behaviour behaviour, QObject* parent);

    bool setDataRequest(const CMSetDataRequest& request) override;

private:
    Behaviour m_behaviour;
    QList<CMSetDataRequest> m_kept;
};

class TestWorker : public CMNodesWorker
{
    Q_OBJECT
public:
    explicit TestWorker(const QHash<QString, QVariant>& config);
};
