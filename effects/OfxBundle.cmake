# ondu1_add_ofx_bundle(TARGET NAME BUNDLE_DIR SOURCES...)
# Builds a module laid out as OFX hosts on Linux expect:
#   <BUNDLE_DIR>/Contents/Info.plist
#   <BUNDLE_DIR>/Contents/Linux-x86-64/<NAME>.ofx
# with the frame, the GPU execution layer and the toolkit linked in and
# only the exported entry points visible.
function(ondu1_add_ofx_bundle target name bundle_dir)
  add_library(${target} MODULE ${ARGN} $<TARGET_OBJECTS:ondu1_frame> $<TARGET_OBJECTS:ondu1_gpu>
    $<TARGET_OBJECTS:ondu1_pixel>)
  target_link_libraries(${target} PRIVATE ondu1_frame ondu1_gpu ondu1_pixel Threads::Threads ${CMAKE_DL_LIBS})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name}
    PREFIX ""
    SUFFIX ".ofx"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LIBRARY_OUTPUT_DIRECTORY ${bundle_dir}/Contents/Linux-x86-64
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/effects/exports.map)
  # Without GNU unique symbols (template statics) a host's dlclose really
  # unloads the module, and a reload starts from a clean state.
  # The effects' pixel loops, like the toolkit's, are built with -O3.
  target_compile_options(${target} PRIVATE -fno-gnu-unique $<$<CONFIG:Release,RelWithDebInfo>:-O3>)
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/effects/exports.map
    -Wl,--no-undefined)
  set(BUNDLE_NAME ${name})
  set(BUNDLE_IDENTIFIER "talvo.effects.${name}")
  configure_file(${PROJECT_SOURCE_DIR}/effects/Info.plist.in ${bundle_dir}/Contents/Info.plist @ONLY)
endfunction()
