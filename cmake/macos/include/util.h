#pragma once
// Missing in the cross compiler's headers; from the manual page openpty(3).
#include <sys/ioctl.h>
#include <sys/types.h>
#include <termios.h>

#ifdef __cplusplus
extern "C" {
#endif
pid_t forkpty(int* master, char* name, struct termios* terminal, struct winsize* size);
#ifdef __cplusplus
}
#endif
