#include <HostKit/UserInput.h>

CUserInput::~CUserInput() = default;

void CUserInput::EnableInput() {}

void CUserInput::FunctionFinished() {}
