#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

/// Text that has to wait for its turn, in an unnamed temporary file. Throws `ZKRunTimeException` when the system has no
/// room for it.
class CSpool
{
public:
    CSpool();

    void Append(std::string_view text);
    bool IsEmpty() const { return m_IsEmpty; }
    /// Passes the text on, in pieces, and is empty then.
    void Drain(const std::function<void(std::string_view piece)>& take);

private:
    struct SClose
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, SClose> m_File;
    bool m_IsEmpty = true;
};
