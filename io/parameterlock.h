// The lock around reading and writing the parameters: the panel and corvanta-provision, or two of
// the latter, would otherwise leave mixed files.
#pragma once

#include <chrono>

class ParameterLock
{
public:
    /**
     * Acquire the lock, which the end of the process releases in any case. A lock that this process
     * holds already is shared.
     * @param patience how long to try while another process holds it; the caller is blocked
     */
    explicit ParameterLock(std::chrono::milliseconds patience);
    ~ParameterLock();
    ParameterLock(const ParameterLock &) = delete;
    ParameterLock &operator=(const ParameterLock &) = delete;

    /** @return false when another process holds the lock, or when it cannot be opened, which is
     *          logged in the category "corvanta.files" */
    bool isHeld() const { return m_held; }

private:
    bool m_held = true;
};
