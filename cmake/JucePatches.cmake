# Fixes to the Debian JUCE 7.0.5 sources that the plug-in's own targets compile, applied to copies
# in the build tree (the installed modules are never touched).

# JUCE 7.0.5's VST3 wrapper copies each input bus's channel mapping (which holds a std::vector)
# on every block, so every block allocates on the audio thread. The VST3 target is compiled
# against a copy of the header that takes the mapping by reference, as later JUCE versions do.
# The wrapper includes the header with angle brackets, so a copy earlier on the include path
# replaces it.
function(orrin_patch_vst3_wrapper target)
    set(original "${JUCE_MODULES_DIR}/juce_audio_processors/format_types/juce_VST3Common.h")
    set(patchedRoot "${CMAKE_BINARY_DIR}/juce-patched")
    set(patched "${patchedRoot}/juce_audio_processors/format_types/juce_VST3Common.h")
    file(READ "${original}" text)
    string(REPLACE "const auto mapping = map[busIndex];" "const auto& mapping = map[busIndex];" fixed "${text}")
    if(fixed STREQUAL text)
        message(STATUS "juce_VST3Common.h: nothing to patch (a JUCE that takes the mapping by reference)")
        return()
    endif()
    # Written only when it changes, so that a new configure does not rebuild the wrapper.
    set(current "")
    if(EXISTS "${patched}")
        file(READ "${patched}" current)
    endif()
    if(NOT current STREQUAL fixed)
        file(WRITE "${patched}" "${fixed}")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${original}")
    target_include_directories(${target} BEFORE PRIVATE "${patchedRoot}")
endfunction()

# JUCE's module sources are compiled inside our targets, under our warning flags, and GCC 12 finds
# false alarms in them (a dangling-pointer warning on every ListenerList, format checks in the
# bundled LV2 libraries): a hundred lines of noise in every clean build that would bury a real
# warning of ours. Our own sources keep every warning. Source properties belong to a directory,
# so each directory that compiles JUCE modules calls this.
function(orrin_quiet_juce_sources)
    file(GLOB juceSources "${JUCE_MODULES_DIR}/*/*.cpp")
    set_source_files_properties(${juceSources} PROPERTIES COMPILE_OPTIONS "-w")
endfunction()
