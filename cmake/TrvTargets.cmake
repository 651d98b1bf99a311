# What the targets of this project have in common. Link these interface libraries PRIVATE:
#
#   trv_options          language, exact arithmetic, sanitizers, coverage: every target
#   trv_warnings         -Wall -Wextra -Wshadow, errors with TRV_WERROR:    every target
#   trv_strict_warnings  the same and -Wconversion:                         src/ and host/

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Programs and the plug-in lie in the build folder's root whatever the generator.
set(TRV_OUTPUT_DIRECTORY "$<1:${PROJECT_BINARY_DIR}>")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${TRV_OUTPUT_DIRECTORY}")
# -O3 is for the kernels (src/CMakeLists.txt); elsewhere it only makes the library larger.
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")

add_library(trv_options INTERFACE)
target_compile_options(trv_options INTERFACE -ffp-contract=off -fno-math-errno)

if(TRV_SANITIZE)
    target_compile_options(trv_options INTERFACE
        -fsanitize=${TRV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(trv_options INTERFACE -fsanitize=${TRV_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # Functions cross the host boundary as addresses without a type.
        target_compile_options(trv_options INTERFACE -fno-sanitize=function)
    endif()
endif()
if(TRV_COVERAGE)
    target_compile_definitions(trv_options INTERFACE TRV_COVERAGE)
    target_compile_options(trv_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(trv_options INTERFACE --coverage)
endif()
if(WIN32)
    # Windows 7 is the oldest system with everything that is linked; newer entries are looked up by name.
    target_compile_definitions(trv_options INTERFACE _WIN32_WINNT=0x0601)
    # A tester's or user's machine has none of the tool chain's run-time libraries.
    target_link_options(trv_options INTERFACE -static -Wl,--no-insert-timestamp)
endif()

add_library(trv_warnings INTERFACE)
target_compile_options(trv_warnings INTERFACE -Wall -Wextra -Wshadow $<$<BOOL:${TRV_WERROR}>:-Werror>)

add_library(trv_strict_warnings INTERFACE)
target_link_libraries(trv_strict_warnings INTERFACE trv_warnings)
# In C++ GCC's -Wconversion leaves signs alone; with this Clang's means the same.
target_compile_options(trv_strict_warnings INTERFACE -Wconversion -Wno-sign-conversion)

# trv_set_instruction_set(source): compiles a source for the processors that its name tells, see src/CMakeLists.txt.
function(trv_set_instruction_set source)
    set(avx2Flags -mavx2 -mfma)
    set(avx512Flags -mavx512f -mavx512bw -mavx512vl -mavx512dq -mfma)
    if(MINGW)
        # Stack slots are aligned to 16 bytes only on Win64, and GCC spills wide registers with aligned moves.
        list(APPEND avx2Flags -Wa,-muse-unaligned-vector-move)
        list(APPEND avx512Flags -Wa,-muse-unaligned-vector-move)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # GCC 12 warns inside its own header of 512-bit intrinsics.
        list(APPEND avx512Flags -Wno-uninitialized -Wno-maybe-uninitialized)
    endif()
    if(source MATCHES "_avx2\\.cpp$")
        set(flags ${avx2Flags})
    elseif(source MATCHES "_avx512\\.cpp$")
        set(flags ${avx512Flags})
    elseif(source MATCHES "_baseline\\.cpp$")
        set(flags "")
    else()
        return()
    endif()
    set_property(SOURCE "${source}" APPEND PROPERTY COMPILE_OPTIONS ${flags} $<$<NOT:$<CONFIG:Debug>>:-O3>)
endfunction()
