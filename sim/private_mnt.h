// sim/private_mnt.h: a /mnt that only this process sees, for the folders that firmware has there.
#ifndef SIM_PRIVATE_MNT_H
#define SIM_PRIVATE_MNT_H

#include <string>

enum Mnt {
    UNDECIDED_MNT,
    PRIVATE_MNT,  // the unit's own
    MACHINES_MNT, // the machine's, which is not the unit's to use
};

// What was decided before this process restarted by exec, which keeps its /mnt.
Mnt inheritedMnt();

// Shows folder as /mnt, to this process only. Where that cannot be, says why in the log. Call it
// before there are threads, and only while undecided.
Mnt openPrivateMnt(const std::string &folder);

#endif
