// Lock for reading and writing the parameters. Without it, the panel and corvanta-provision, or two
// instances of corvanta-provision, could leave a mixture of their values in the files.
#pragma once

#include <chrono>

class ParameterLock
{
public:
    /**
     * Acquire the lock. Locks can be nested within a process. The lock is released when the process
     * exits, for whatever reason.
     * @param timeout longest wait while another process holds the lock; blocks the caller
     */
    explicit ParameterLock(std::chrono::milliseconds timeout);
    ~ParameterLock();
    ParameterLock(const ParameterLock &) = delete;
    ParameterLock &operator=(const ParameterLock &) = delete;

    /** @return false when another process holds the lock or the lock file cannot be opened; both
     * are logged in the category "corvanta.files" */
    bool isHeld() const { return m_held; }

private:
    bool m_held = true;
};
