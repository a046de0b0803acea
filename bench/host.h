// bench/host.h: the least host that answers every request: its functions take next to no stack.
#ifndef BENCH_HOST_H
#define BENCH_HOST_H

// Fills the hooks and settings, before the start and before any fork.
void installHost();

// What the gate answers from now on, to every process forked from this one, too.
void setVerdict(int verdict);

#endif
