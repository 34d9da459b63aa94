#pragma once

#include <CoreKit/CoreKitExport.h>

#include <cstddef>
#include <vector>

/// Growable text buffer. It only ever grows, so a buffer kept for reuse stops allocating once it fits the longest text.
class COREKIT_EXPORT CSimpleBuffer
{
public:
    CSimpleBuffer();

    /// At least `size` writable bytes; what the buffer held before is kept. Invalidates earlier pointers.
    char* Get(std::size_t size);

    /// The text written so far, as far as its writer terminated it; empty at first. Valid until the next `Get`.
    const char* Contents() const noexcept { return m_Bytes.data(); }

    /// How many bytes can be written without growing.
    std::size_t Size() const noexcept { return m_Bytes.size(); }

private:
    std::vector<char> m_Bytes;
};
