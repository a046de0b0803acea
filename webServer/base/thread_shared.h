// base/thread_shared.h: access to the plain variables that a host thread and the service thread both
// use. A thread that reads a value also sees everything that the writer wrote before it.
#pragma once

template <typename T> T readShared(const T &variable)
{
    return __atomic_load_n(&variable, __ATOMIC_ACQUIRE);
}

template <typename T> void writeShared(T &variable, T value)
{
    __atomic_store_n(&variable, value, __ATOMIC_RELEASE);
}
