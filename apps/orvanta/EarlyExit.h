#pragma once

/// While it lives, a test function that ends the process by `std::exit` does not end it as a success: the program says
/// so and exits with the code for an unexpected error.
class CEarlyExitGuard
{
public:
    CEarlyExitGuard();
    ~CEarlyExitGuard();
    CEarlyExitGuard(const CEarlyExitGuard&) = delete;
    CEarlyExitGuard& operator=(const CEarlyExitGuard&) = delete;
};
