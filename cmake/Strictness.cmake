# Language level, warnings, Qt's strictness defines and sanitizers, in one place.
# px40_plain is for code without Qt (the simulator); px40_strict adds Qt's rules.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release)
endif()

add_library(px40_plain INTERFACE)
target_compile_options(px40_plain INTERFACE -Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor
                                            -Woverloaded-virtual)
if(PX40_WERROR)
  target_compile_options(px40_plain INTERFACE -Werror)
endif()
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A source that is included into another one counts as a header, whose coroutines must not hold what only it knows.
  target_compile_options(px40_plain INTERFACE -Wno-subobject-linkage)
endif()
if(PX40_SANITIZE)
  # What the sanitizers put into the code makes g++ see uninitialised values where there are none.
  target_compile_options(px40_plain INTERFACE -fsanitize=${PX40_SANITIZE} -fno-omit-frame-pointer
                                              -fno-sanitize-recover=all -Wno-maybe-uninitialized)
  target_link_options(px40_plain INTERFACE -fsanitize=${PX40_SANITIZE})
endif()

add_library(px40_strict INTERFACE)
target_link_libraries(px40_strict INTERFACE px40_plain)
target_compile_definitions(
  px40_strict
  INTERFACE QT_NO_KEYWORDS
            QT_NO_FOREACH
            QT_NO_CAST_FROM_ASCII
            QT_NO_CAST_TO_ASCII
            QT_NO_CAST_FROM_BYTEARRAY
            QT_NO_URL_CAST_FROM_STRING
            QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
            QT_STRICT_ITERATORS
            QT_DISABLE_DEPRECATED_BEFORE=0x060400)
