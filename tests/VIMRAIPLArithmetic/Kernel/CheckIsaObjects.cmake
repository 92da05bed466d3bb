# Checks the objects compiled with instruction-set flags (the <Op>Lvl3_<set> files,
# the layer probes of the tests and the formula evaluator's Eval<Set> files):
#  1. they define no function shared by name with other objects (weak or unique
#     symbols) unless its name is specific to their set: the set's namespace
#     vimra::simd::<set> or vimra::formula::detail::<set>, or the set's eInstructionSet value as a template
#     argument. Otherwise the linker may keep their copy, compiled for the wider
#     set, for every caller.
#  2. their static initialisers, which run before any processor check, contain no
#     VEX or EVEX encoded instruction.
# Usage: cmake -DOBJECTS=<a.o|b.o|...> -DNM=<nm> -DOBJDUMP=<objdump> -P CheckIsaObjects.cmake

string(REPLACE "|" ";" objects "${OBJECTS}")
set(checked 0)
set(problems "")
foreach(object IN LISTS objects)
  get_filename_component(name "${object}" NAME)
  if(name MATCHES "Lvl3_(sse2|avx|avx2|avx512)\\.cpp\\.o$")
    set(isa "${CMAKE_MATCH_1}")
  elseif(name MATCHES "^(Sse2|Avx|Avx2|Avx512)Probes\\.cpp\\.o$")
    string(TOLOWER "${CMAKE_MATCH_1}" isa)
  elseif(name MATCHES "^Eval(Sse2|Avx|Avx2|Avx512)\\.cpp\\.o$")
    string(TOLOWER "${CMAKE_MATCH_1}" isa)
  else()
    continue()
  endif()
  set(value_sse2 1)
  set(value_avx 5)
  set(value_avx2 7)
  set(value_avx512 8)
  set(value "${value_${isa}}")
  math(EXPR checked "${checked} + 1")

  execute_process(COMMAND "${NM}" -C --defined-only "${object}" OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${object}")
  endif()
  string(REPLACE ";" "," symbols "${symbols}")
  string(REPLACE "\n" ";" lines "${symbols}")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "^[0-9a-f]+ [WVu] (.*)$")
      continue()
    endif()
    set(symbol "${CMAKE_MATCH_1}")
    if(symbol MATCHES "^DW\\.ref\\.")
      continue()  # a data reference to the exception personality routine, no code
    endif()
    string(FIND "${symbol}" "vimra::simd::${isa}::" inNamespace)
    if(inNamespace EQUAL -1)
      string(FIND "${symbol}" "vimra::formula::detail::${isa}::" inNamespace)
    endif()
    string(FIND "${symbol}" "(vimra::eInstructionSet::domain)${value}" withValue)
    if(inNamespace EQUAL -1 AND withValue EQUAL -1)
      string(APPEND problems "\n  ${name}: shares '${symbol}'")
    endif()
  endforeach()

  execute_process(COMMAND "${OBJDUMP}" -d --no-show-raw-insn -j .text.startup "${object}"
                  OUTPUT_VARIABLE startup ERROR_QUIET)
  string(REPLACE "\n" ";" lines "${startup}")
  foreach(line IN LISTS lines)
    if(line MATCHES "\t(v[a-z0-9]+ .*)$" OR line MATCHES "\t([a-z0-9]+ .*(%[yz]mm|%k[0-7]).*)$")
      string(APPEND problems "\n  ${name}: static initialiser uses '${CMAKE_MATCH_1}'")
    endif()
  endforeach()
endforeach()

if(checked EQUAL 0)
  message(FATAL_ERROR "no instruction-set object found among: ${OBJECTS}")
endif()
if(problems)
  message(FATAL_ERROR "instruction-set objects leak code compiled for their set:${problems}")
endif()
message(STATUS "${checked} instruction-set objects checked")
