#include <CoreKit/SimpleBuffer.h>

CSimpleBuffer::CSimpleBuffer()
    : m_Bytes(1, '\0')
{
}

char* CSimpleBuffer::Get(std::size_t size)
{
    if (size > m_Bytes.size())
    {
        m_Bytes.resize(size, '\0');
    }
    return m_Bytes.data();
}
