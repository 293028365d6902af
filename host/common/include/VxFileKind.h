#pragma once
// What a file is, in the words of messages that refuse it.

#include <sys/types.h>

#include "VxCommon_export.h"

// "a folder", "a FIFO (named pipe)", "a character device", "a block device", "a socket", "a
// regular file", or "an unknown kind of file", for the st_mode of a file.
VXCOMMON_EXPORT const char* VxFileKindText(mode_t mode);
