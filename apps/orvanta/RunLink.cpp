#include "RunLink.h"

#include <CoreKit/Exceptions.h>

#include <cerrno>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
void Close(int& end)
{
    if (end >= 0)
    {
        close(end);
    }
    end = -1;
}

SSharedPage* MapPage()
{
    void* const memory = mmap(nullptr, sizeof(SSharedPage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
    {
        ThrowFormatted<ZKRunTimeException>("no memory to share with the running process: %s", std::strerror(errno));
    }
    return new (memory) SSharedPage;
}
} // namespace

CPipe::CPipe()
{
    if (pipe2(m_Ends, O_CLOEXEC) != 0)
    {
        ThrowFormatted<ZKRunTimeException>("no pipe to the running process: %s", std::strerror(errno));
    }
}

CPipe::~CPipe()
{
    CloseReadEnd();
    CloseWriteEnd();
}

void CPipe::CloseReadEnd()
{
    Close(m_Ends[0]);
}

void CPipe::CloseWriteEnd()
{
    Close(m_Ends[1]);
}

SRunLink::SRunLink()
    : page(MapPage())
{
    constexpr int ROOM = 1024 * 1024;
    fcntl(events.WriteEnd(), F_SETPIPE_SZ, ROOM); // as large as the system allows; smaller is only slower
}

void SRunLink::SUnmap::operator()(SSharedPage* memory) const
{
    munmap(memory, sizeof(SSharedPage));
}

bool WriteAll(int file, std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t written = write(file, text.data(), text.size());
        if (written >= 0)
        {
            text.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (errno == EAGAIN)
        {
            pollfd output{file, POLLOUT, 0};
            poll(&output, 1, -1);
        }
        else if (errno != EINTR)
        {
            return false;
        }
    }
    return true;
}
