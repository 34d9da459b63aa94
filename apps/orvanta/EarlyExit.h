#pragma once

/// While it lives, test code that ends the process by `std::exit` or `std::quick_exit` does not end it as a success:
/// the program says `message` and exits with the code for an unexpected error. Guards nest; the innermost one's message
/// counts. A process that test code forked may exit as it likes.
class CEarlyExitGuard
{
public:
    /// `message` outlives the object.
    explicit CEarlyExitGuard(const char* message);
    ~CEarlyExitGuard();
    CEarlyExitGuard(const CEarlyExitGuard&) = delete;
    CEarlyExitGuard& operator=(const CEarlyExitGuard&) = delete;

private:
    const char* m_Outer;
};
