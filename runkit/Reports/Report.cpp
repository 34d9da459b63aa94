#include <Reports/Report.h>

CReport::~CReport() = default;
