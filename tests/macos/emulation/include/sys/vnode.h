#pragma once
#include "../../../../../cmake/macos/include/sys/vnode.h"
