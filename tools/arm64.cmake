# SPDX-License-Identifier: GPL-2.0-only
# Programs for a device: static, as nobody knows what libraries it has.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++-12)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -s")
