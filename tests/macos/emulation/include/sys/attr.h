#pragma once
// getattrlist(2) and getattrlistbulk(2), as far as they are emulated.
#include <stdint.h>
#include <sys/types.h>

typedef uint32_t attrgroup_t;
typedef uint32_t fsobj_type_t;

struct attrlist {
  unsigned short bitmapcount;
  uint16_t reserved;
  attrgroup_t commonattr;
  attrgroup_t volattr;
  attrgroup_t dirattr;
  attrgroup_t fileattr;
  attrgroup_t forkattr;
};
typedef struct {
  attrgroup_t commonattr;
  attrgroup_t volattr;
  attrgroup_t dirattr;
  attrgroup_t fileattr;
  attrgroup_t forkattr;
} attribute_set_t;
typedef struct {
  int32_t attr_dataoffset;
  uint32_t attr_length;
} attrreference_t;

#define ATTR_BIT_MAP_COUNT 5

#define ATTR_CMN_NAME 0x00000001u
#define ATTR_CMN_OBJTYPE 0x00000008u
#define ATTR_CMN_FNDRINFO 0x00004000u
#define ATTR_CMN_FLAGS 0x00040000u
#define ATTR_CMN_ERROR 0x20000000u
#define ATTR_CMN_RETURNED_ATTRS 0x80000000u

#define ATTR_FILE_ALLOCSIZE 0x00000004u
#define ATTR_FILE_DATALENGTH 0x00000200u
