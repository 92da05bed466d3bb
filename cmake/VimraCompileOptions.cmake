# Warnings and sanitizers shared by every target of the project.
add_library(vimra_warnings INTERFACE)
target_compile_options(vimra_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wno-psabi>)

if(VIMRA_SANITIZE)
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fsanitize=${VIMRA_SANITIZE};-fno-omit-frame-pointer;-fno-sanitize-recover=all>")
  add_link_options(-fsanitize=${VIMRA_SANITIZE})
endif()

# A oneTBB to use instead of the system's: the tsan preset points this at the
# ThreadSanitizer-instrumented build of scripts/build-sanitized-tbb.sh. The
# prebuilt libtbb synchronises in code TSan cannot see, and TSan then reports
# false races inside TBB in every parallel loop.
set(VIMRA_TBB_PREFIX "" CACHE PATH "Install prefix of a oneTBB to use instead of the system's")
if(VIMRA_TBB_PREFIX)
  if(NOT EXISTS "${VIMRA_TBB_PREFIX}/lib/cmake/TBB/TBBConfig.cmake")
    message(FATAL_ERROR "No oneTBB is installed in VIMRA_TBB_PREFIX=${VIMRA_TBB_PREFIX}: "
                        "run scripts/build-sanitized-tbb.sh (scripts/run-tests.sh tsan does it)")
  endif()
  set(TBB_DIR "${VIMRA_TBB_PREFIX}/lib/cmake/TBB" CACHE PATH "oneTBB package directory" FORCE)
  # Tests and tools run from the build tree load this libtbb, not the system's.
  list(APPEND CMAKE_BUILD_RPATH "${VIMRA_TBB_PREFIX}/lib")
elseif(VIMRA_SANITIZE MATCHES "thread")
  message(WARNING "ThreadSanitizer with the system's prebuilt oneTBB reports false races inside TBB: "
                  "use the tsan preset, or set VIMRA_TBB_PREFIX to a oneTBB built by "
                  "scripts/build-sanitized-tbb.sh")
endif()

# Flags of the instruction-set kernel files. Only those files get them: nothing
# else in the project may assume more than the x86-64 baseline.
set(VIMRA_FLAGS_SSE2 -msse2)
set(VIMRA_FLAGS_AVX -mavx)
set(VIMRA_FLAGS_AVX2 -mavx2 -mfma)
set(VIMRA_FLAGS_AVX512 -mavx512f -mavx512bw -mavx512vl -mavx512dq)
# Sanitizer builds compile the kernel files without optimisation: with
# address,undefined a file of 343 kernels takes about 60 s at -O2 and 7 s at -O0.
if(VIMRA_SANITIZE)
  foreach(isa SSE2 AVX AVX2 AVX512)
    list(APPEND VIMRA_FLAGS_${isa} -O0)
  endforeach()
endif()

# Kernel files are large instantiations whose debug information costs about a
# third of their compile time and is rarely wanted; ask for it explicitly.
option(VIMRA_KERNEL_DEBUG_INFO "Build the kernel files with debug information" OFF)
set(VIMRA_KERNEL_FLAGS "")
if(NOT VIMRA_KERNEL_DEBUG_INFO)
  set(VIMRA_KERNEL_FLAGS -g0)
endif()
# No contraction of a * b + c into fused multiply-adds: every path must round each
# product as the portable kernel does (kernels that fuse say so with intrinsics).
list(APPEND VIMRA_KERNEL_FLAGS -ffp-contract=off)
foreach(isa SSE2 AVX AVX2 AVX512)
  list(APPEND VIMRA_FLAGS_${isa} ${VIMRA_KERNEL_FLAGS})
endforeach()

# vimra_isa_sources(<target> <isa> <files...>) attaches a per-instruction-set
# flag set to kernel source files.
function(vimra_isa_sources target isa)
  set(files ${ARGN})
  target_sources(${target} PRIVATE ${files})
  set_source_files_properties(${files} PROPERTIES
    COMPILE_OPTIONS "${VIMRA_FLAGS_${isa}}"
    SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# libFuzzer builds (scripts/fuzz.sh): everything is instrumented for coverage and
# checked by AddressSanitizer and UndefinedBehaviorSanitizer; the fuzz targets of
# tests/framework/core link libFuzzer's driver.
option(VIMRA_FUZZ "Build the libFuzzer targets (clang only)" OFF)
if(VIMRA_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "VIMRA_FUZZ needs clang (scripts/fuzz.sh configures it)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
