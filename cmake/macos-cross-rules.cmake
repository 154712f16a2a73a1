# How macos-cross.cmake links a bundle.
set(CMAKE_CXX_CREATE_SHARED_MODULE
    "ld64.lld-16 -arch ${LOMIX_MACOS_ARCH} -platform_version macos 11.0 11.0 -bundle -adhoc_codesign \
-dead_strip -S <LINK_FLAGS> -o <TARGET> <OBJECTS> <LINK_LIBRARIES> \"${LOMIX_MACOS_TOOLS}/libc++.a\" \
\"${LOMIX_MACOS_TOOLS}/libc++abi.a\" -syslibroot \"${LOMIX_MACOS_TOOLS}/sysroot\" -lSystem")
