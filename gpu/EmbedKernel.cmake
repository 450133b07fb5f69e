# Run as a script (cmake -DSOURCE=... -DOUTPUT=... -P): writes the OpenCL
# source SOURCE into OUTPUT as one C++ raw string literal, so that an effect
# keeps its kernel as a real .cl file and still carries the text inside the
# module. A line `#include "NAME.inc"` is replaced by that file, from the
# folder of SOURCE or else from this folder (the shared prelude.inc): the
# host compiles the text alone, with no include path, and an effect's data
# tables can so be shared with its processor.
set(delimiter "ondu1cl")
get_filename_component(folder "${SOURCE}" DIRECTORY)
set(shared_folder "${CMAKE_CURRENT_LIST_DIR}")
file(READ "${SOURCE}" text)
string(REGEX MATCHALL "#include \"[^\"\n]+\\.inc\"" includes "${text}")
foreach(line ${includes})
  string(REGEX REPLACE "#include \"([^\"]+)\"" "\\1" name "${line}")
  if(EXISTS "${folder}/${name}")
    file(READ "${folder}/${name}" included)
  elseif(EXISTS "${shared_folder}/${name}")
    file(READ "${shared_folder}/${name}" included)
  else()
    message(FATAL_ERROR "${SOURCE}: no ${name} beside it or in ${shared_folder} to include")
  endif()
  string(REPLACE "${line}" "${included}" text "${text}")
endforeach()
string(FIND "${text}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${SOURCE} contains the raw string delimiter )${delimiter}\"")
endif()
file(WRITE "${OUTPUT}" "R\"${delimiter}(${text})${delimiter}\"\n")
