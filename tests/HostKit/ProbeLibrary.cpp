#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

PROBE_EXPORT int ProbeNumber();
PROBE_EXPORT int ProbeNumber()
{
    return PROBE_NUMBER;
}

PROBE_EXPORT int ProbeData;
int ProbeData = PROBE_NUMBER;
