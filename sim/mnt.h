// sim/mnt.h: the unit's fixed folders in /mnt, which must not be the machine's /mnt.
#ifndef SIM_MNT_H
#define SIM_MNT_H

#include <string>

// Throws if /mnt is not a unit's own, or if another unit runs in it. Changes nothing.
void claimMnt();

// Makes the folders, copies missing samples, begins the log file, and sets WEB_DIR unless it is set.
// Throws if WEB_DIR names no folder. Call it before there are threads.
void openMnt();

// Returns the path by which people find a file of the unit's /mnt. scripts/private_mnt passes the folder in
// SIM_STATE; without it the path is returned unchanged.
std::string pathForPeople(const std::string &path);

#endif
