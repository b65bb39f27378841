// SPDX-License-Identifier: GPL-2.0-only
// platform/kernel.h as a supplier on a PC sees it: every service under its symbol's name. The C
// library has macros for some of the error codes that kernel.h declares as constants.
#pragma once

#include <cerrno>

#undef EPERM
#undef EINTR
#undef ENXIO
#undef ENOMEM
#undef EINVAL
#undef ETIMEDOUT

#define KERNEL_SERVICE(name) ovk_kernel_##name
#include "platform/kernel.h"
