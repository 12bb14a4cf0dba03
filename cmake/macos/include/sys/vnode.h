#pragma once
// Missing in the cross compiler's headers: the types of file system objects, as getattrlist(2) numbers them.
enum vtype { VNON, VREG, VDIR, VBLK, VCHR, VLNK, VSOCK, VFIFO, VBAD, VSTR, VCPLX };
