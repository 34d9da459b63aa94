#include <Events/EventSink.h>

CEventSink::~CEventSink() = default;

void CEventSink::HandOver() {}
