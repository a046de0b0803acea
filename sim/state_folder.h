// sim/state_folder.h: the folder that keeps what the unit writes, over restarts and new starts.
#ifndef SIM_STATE_FOLDER_H
#define SIM_STATE_FOLDER_H

#include <string>

// Makes and fills the folder (empty: the default one), shows its mnt/ as /mnt if it can, begins the
// log file, and sets WEB_DIR and CONFIG_DIR where nobody has. Call it before there are threads.
// *root is what stands in front of "/mnt/..." in the paths of the unit's files: empty where it has its
// own /mnt. Returns 0, or -1 after a message: the unit must not start.
int openStateFolder(const std::string &folder, std::string *root);

// Where people find the file that the unit, with its own /mnt, finds here.
std::string pathForPeople(const std::string &path);

#endif
