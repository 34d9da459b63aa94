#pragma once

#include <cstdarg>

/// Ends a walk over variable arguments when it leaves the scope, also when formatting them throws.
class CArgumentsEnd
{
public:
    explicit CArgumentsEnd(std::va_list& arguments)
        : m_Arguments(arguments)
    {
    }
    ~CArgumentsEnd() { va_end(m_Arguments); }
    CArgumentsEnd(const CArgumentsEnd&) = delete;
    CArgumentsEnd& operator=(const CArgumentsEnd&) = delete;

private:
    std::va_list& m_Arguments;
};
