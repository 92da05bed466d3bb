# Warnings and sanitizers shared by every target of the project.
add_library(vimra_warnings INTERFACE)
target_compile_options(vimra_warnings INTERFACE -Wall -Wextra -Wpedantic -Wno-psabi)

if(VIMRA_SANITIZE)
  add_compile_options(-fsanitize=${VIMRA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VIMRA_SANITIZE})
endif()

# Flags of the instruction-set kernel files. Only those files get them: nothing
# else in the project may assume more than the x86-64 baseline.
set(VIMRA_FLAGS_SSE2 -msse2)
set(VIMRA_FLAGS_AVX -mavx)
set(VIMRA_FLAGS_AVX2 -mavx2 -mfma)
set(VIMRA_FLAGS_AVX512 -mavx512f -mavx512bw -mavx512vl -mavx512dq)

# vimra_isa_sources(<target> <isa> <files...>) attaches a per-instruction-set
# flag set to kernel source files.
function(vimra_isa_sources target isa)
  set(files ${ARGN})
  target_sources(${target} PRIVATE ${files})
  set_source_files_properties(${files} PROPERTIES
    COMPILE_OPTIONS "${VIMRA_FLAGS_${isa}}"
    SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
