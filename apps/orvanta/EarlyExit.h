#pragma once

#include <functional>
#include <string>

/// While it lives, test code that ends the process by `std::exit` or `std::quick_exit` does not end it as a success:
/// the program says the message and exits with the code for an unexpected error. Guards nest; the innermost one's
/// message counts. A process that test code forked may exit as it likes.
class CEarlyExitGuard
{
public:
    /// The message is made when it is needed.
    explicit CEarlyExitGuard(std::function<std::string()> message);
    ~CEarlyExitGuard();
    CEarlyExitGuard(const CEarlyExitGuard&) = delete;
    CEarlyExitGuard& operator=(const CEarlyExitGuard&) = delete;

private:
    const std::function<std::string()> m_Message;
    const std::function<std::string()>* const m_Outer;
};
