# Cross-building for arm64 terminals on amd64 Debian, with the arm64 -dev packages
# installed beside the amd64 host tools (protoc, the gRPC plug-in, moc, rcc,
# lrelease, the QML compiler), as Debian's multiarch allows.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# gRPC finds re2 through pkg-config, which must read the arm64 .pc files.
set(PKG_CONFIG_EXECUTABLE aarch64-linux-gnu-pkg-config)
# CTest runs the test programs through qemu-user where it is installed.
find_program(PROBIX_QEMU qemu-aarch64)
if(PROBIX_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${PROBIX_QEMU})
endif()
