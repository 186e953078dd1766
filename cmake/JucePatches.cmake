# Fixes to the Debian JUCE 7.0.5 sources that the plug-in's own targets compile, applied to copies
# in the build tree (the installed modules are never touched).

# Writes text to a file only when it differs, so that a new configure rebuilds nothing.
function(orrin_write_if_changed file text)
    set(current "")
    if(EXISTS "${file}")
        file(READ "${file}" current)
    endif()
    if(NOT current STREQUAL text)
        file(WRITE "${file}" "${text}")
    endif()
endfunction()

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
    orrin_write_if_changed("${copy}" "${fixed}")
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

    # The wrapper itself (cmake/patches/juce_VST3_Wrapper.patch): a class per output layout
    # (UpmixerOutputLayouts) besides the default class, and the output bus's name following a
    # negotiated layout.
    set(copy "${patchedRoot}/juce_VST3_Wrapper.cpp")
    orrin_write_diffed_copy("${JUCE_MODULES_DIR}/juce_audio_plugin_client/VST3/juce_VST3_Wrapper.cpp" "${copy}"
                            "${CMAKE_CURRENT_SOURCE_DIR}/cmake/patches/juce_VST3_Wrapper.patch")
    orrin_replace_client_source(juce_audio_plugin_client_VST3 ".*/juce_audio_plugin_client_VST3\\.cpp$" "${copy}")
endfunction()

# Writes a copy of a JUCE source with a unified diff from cmake/patches applied (to the source
# with LF line endings, as JUCE ships CRLF), only when the copy changes. A JUCE the diff does not
# fit stops the configure: the plug-in's metadata depends on it.
function(orrin_write_diffed_copy original copy patchFile)
    file(READ "${original}" text)
    string(REPLACE "\r\n" "\n" text "${text}")
    get_filename_component(name "${original}" NAME)
    set(work "${CMAKE_BINARY_DIR}/juce-patched/work")
    file(MAKE_DIRECTORY "${work}")
    file(WRITE "${work}/${name}" "${text}")
    execute_process(COMMAND patch --quiet --force -o "${work}/${name}.patched" "${work}/${name}" "${patchFile}"
                    RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "${patchFile} does not apply to ${original}")
    endif()
    file(READ "${work}/${name}.patched" fixed)
    orrin_write_if_changed("${copy}" "${fixed}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${original}" "${patchFile}")
endfunction()

# Replaces the source a JUCE plug-in client library compiles into each format target.
function(orrin_replace_client_source library pattern copy)
    get_target_property(sources ${library} INTERFACE_SOURCES)
    list(TRANSFORM sources REPLACE "${pattern}" "${copy}")
    set_target_properties(${library} PROPERTIES INTERFACE_SOURCES "${sources}")
endfunction()

# JUCE 7.0.5's LV2 wrapper, as the LV2 target compiles it (cmake/patches/juce_LV2_Client.patch):
# - one LV2 plug-in per output layout (UpmixerOutputLayouts) in the one binary: a descriptor per
#   URI, each instance built for its layout, and the Turtle generator writing every plug-in with
#   its own ports and output bus name; the author's address as a mailto: URI; 5.1's surrounds
#   designated (JUCE's designation map lacks them), and each speaker port named for its speaker;
# - its audio buffer resized to each block without keeping the old content: JUCE keeps it,
#   which reallocates on the audio thread whenever a block is longer than the one before (hosts
#   vary block sizes, at loop points and automation splits); the inputs are copied in right after.
# The wrapper's translation unit includes everything else by include path, so the copy can live
# anywhere.
function(orrin_patch_lv2_wrapper)
    set(copy "${CMAKE_BINARY_DIR}/juce-patched/juce_LV2_Client.cpp")
    orrin_write_diffed_copy("${JUCE_MODULES_DIR}/juce_audio_plugin_client/LV2/juce_LV2_Client.cpp" "${copy}"
                            "${CMAKE_CURRENT_SOURCE_DIR}/cmake/patches/juce_LV2_Client.patch")
    orrin_replace_client_source(juce_audio_plugin_client_LV2 ".*/juce_audio_plugin_client_LV2\\.cpp$" "${copy}")
endfunction()

# JUCE's module sources are compiled inside our targets, under our warning flags, and GCC 12 finds
# false alarms in them (a dangling-pointer warning on every ListenerList, format checks in the
# bundled LV2 libraries): a hundred lines of noise in every clean build that would bury a real
# warning of ours. Our own sources keep every warning. Source properties belong to a directory,
# so each directory that compiles JUCE modules calls this.
function(orrin_quiet_juce_sources)
    file(GLOB juceSources "${JUCE_MODULES_DIR}/*/*.cpp" "${CMAKE_BINARY_DIR}/juce-patched/*.cpp")
    set_source_files_properties(${juceSources} PROPERTIES COMPILE_OPTIONS "-w")
endfunction()
