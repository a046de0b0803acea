// bench/host.h: the smallest host that answers every request. It uses little stack, which would count.
#pragma once

// Sets the hooks and settings. Call it before the start and before any fork.
void installHost();

// Sets what the gate answers from now on, also in the processes that were forked from this one.
void setVerdict(int verdict);

// Set while a hook allocates the names of its list. Volatile: a compiler assumes that no allocator reads it.
inline thread_local volatile bool hostAllocates = false;
