# Run as a script (cmake -DSOURCE=... -DOUTPUT=... -P): writes the OpenCL
# source SOURCE into OUTPUT as one C++ raw string literal, so that an effect
# keeps its kernel as a real .cl file and still carries the text inside the
# module.
set(delimiter "ondu1cl")
file(READ "${SOURCE}" text)
string(FIND "${text}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${SOURCE} contains the raw string delimiter )${delimiter}\"")
endif()
file(WRITE "${OUTPUT}" "R\"${delimiter}(${text})${delimiter}\"\n")
