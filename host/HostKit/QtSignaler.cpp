#include <HostKit/QtSignaler.h>

CQtSignaler::CQtSignaler() = default;

CQtSignaler::~CQtSignaler() = default;

void CQtSignaler::UpdateResults()
{
    Q_EMIT ResultsUpdated();
}
