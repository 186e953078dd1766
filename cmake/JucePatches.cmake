# Fixes to the Debian JUCE 7.0.5 sources that the plug-in's own targets compile, applied to copies
# in the build tree (the installed modules are never touched).

# Writes a copy of a JUCE source with one text replaced, only when the copy changes (so that a
# new configure rebuilds nothing). Sets `result` to FALSE when the text is not there: a JUCE that
# needs no fix.
function(orrin_write_patched_copy original copy from to result)
    file(READ "${original}" text)
    string(REPLACE "${from}" "${to}" fixed "${text}")
    if(fixed STREQUAL text)
        message(STATUS "${original}: nothing to patch")
        set(${result} FALSE PARENT_SCOPE)
        return()
    endif()
    set(current "")
    if(EXISTS "${copy}")
        file(READ "${copy}" current)
    endif()
    if(NOT current STREQUAL fixed)
        file(WRITE "${copy}" "${fixed}")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${original}")
    set(${result} TRUE PARENT_SCOPE)
endfunction()

# JUCE 7.0.5's VST3 wrapper copies each input bus's channel mapping (which holds a std::vector)
# on every block, so every block allocates on the audio thread. The VST3 target is compiled
# against a copy of the header that takes the mapping by reference, as later JUCE versions do.
# The wrapper includes the header with angle brackets, so a copy earlier on the include path
# replaces it.
function(orrin_patch_vst3_wrapper target)
    set(patchedRoot "${CMAKE_BINARY_DIR}/juce-patched")
    orrin_write_patched_copy("${JUCE_MODULES_DIR}/juce_audio_processors/format_types/juce_VST3Common.h"
                             "${patchedRoot}/juce_audio_processors/format_types/juce_VST3Common.h"
                             "const auto mapping = map[busIndex];" "const auto& mapping = map[busIndex];" patched)
    if(patched)
        target_include_directories(${target} BEFORE PRIVATE "${patchedRoot}")
    endif()
endfunction()

# JUCE 7.0.5's LV2 wrapper resizes its audio buffer to each block keeping the old content, which
# reallocates on the audio thread whenever a block is longer than the one before (hosts vary
# block sizes, at loop points and automation splits). The LV2 target compiles a copy that resizes
# without keeping the content (the inputs are copied in right after), which never reallocates
# within the prepared size. The wrapper's translation unit includes everything else by include
# path, so the copy can live anywhere.
function(orrin_patch_lv2_wrapper)
    set(copy "${CMAKE_BINARY_DIR}/juce-patched/juce_LV2_Client.cpp")
    orrin_write_patched_copy("${JUCE_MODULES_DIR}/juce_audio_plugin_client/LV2/juce_LV2_Client.cpp" "${copy}"
                             "audio.setSize (audio.getNumChannels(), static_cast<int> (numSteps), true, false, true);"
                             "audio.setSize (audio.getNumChannels(), static_cast<int> (numSteps), false, false, true);" patched)
    if(patched)
        get_target_property(sources juce_audio_plugin_client_LV2 INTERFACE_SOURCES)
        list(TRANSFORM sources REPLACE ".*/juce_audio_plugin_client_LV2\\.cpp$" "${copy}")
        set_target_properties(juce_audio_plugin_client_LV2 PROPERTIES INTERFACE_SOURCES "${sources}")
    endif()
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
