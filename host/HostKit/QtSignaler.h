#pragma once

#include <HostKit/HostKitExport.h>

#include <QObject>

/// Tells a Qt host that counters of the tree have changed. Owned by the services.
class HOSTKIT_EXPORT CQtSignaler : public QObject
{
    Q_OBJECT

public:
    CQtSignaler();
    ~CQtSignaler() override;

    /// Emits `ResultsUpdated`.
    virtual void UpdateResults();

Q_SIGNALS:
    void ResultsUpdated();
};
