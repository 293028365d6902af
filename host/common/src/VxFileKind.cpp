#include "VxFileKind.h"

#include <sys/stat.h>

const char* VxFileKindText(mode_t mode) {
  if (S_ISREG(mode)) return "a regular file";
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISBLK(mode)) return "a block device";
  if (S_ISFIFO(mode)) return "a FIFO (named pipe)";
  if (S_ISSOCK(mode)) return "a socket";
  return "an unknown kind of file";
}
