#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

PROBE_EXPORT int ProbeNumber();
PROBE_EXPORT int ProbeNumber()
{
    return PROBE_NUMBER;
}

PROBE_EXPORT int ProbeData;
int ProbeData = PROBE_NUMBER;

// The kinds of symbols that a library's table has, beside plain functions.
PROBE_EXPORT __attribute__((weak)) int ProbeWeak();
int ProbeWeak()
{
    return 1;
}

extern "C" __attribute__((visibility("hidden"))) int ProbeHidden();
int ProbeHidden()
{
    return 1;
}

extern "C" __attribute__((weak)) int ProbeNeeded();
using TProbe = int (*)();
extern "C" TProbe ChooseProbe();
TProbe ChooseProbe()
{
    return ProbeNeeded ? ProbeNeeded : ProbeHidden;
}

PROBE_EXPORT __attribute__((ifunc("ChooseIndirect"))) int ProbeIndirect();
extern "C" __attribute__((visibility("hidden"))) TProbe ChooseIndirect();
TProbe ChooseIndirect()
{
    return ProbeHidden;
}

asm(".text\n.globl ProbeAssembly\nProbeAssembly:\n.long 0\n");
asm(".data\n.globl ProbeTable\nProbeTable:\n.long 0, 0\n.text\n");
