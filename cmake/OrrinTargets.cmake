# Shared build settings and helpers for every Orrin Upmix target.

# JUCE configuration, identical for the core library and everything that links it.
set(ORRIN_JUCE_DEFINITIONS
    JUCE_WEB_BROWSER=0
    JUCE_USE_CURL=0
    JUCE_USE_FLAC=1
    JUCE_USE_OGGVORBIS=1
    JUCE_USE_MP3AUDIOFORMAT=0
    JUCE_DISPLAY_SPLASH_SCREEN=0
    JUCE_REPORT_APP_USAGE=0
    JUCE_VST3_CAN_REPLACE_VST2=0
    JUCE_STRICT_REFCOUNTEDPOINTER=1
    JUCE_MODAL_LOOPS_PERMITTED=1
    DONT_SET_USING_JUCE_NAMESPACE=1)

# Debian's JUCE uses the system FLAC and Vorbis libraries instead of JUCE's bundled copies,
# so they are linked here.
set(ORRIN_CODEC_LIBRARIES FLAC vorbisenc vorbisfile vorbis ogg png16 jpeg z)

function(orrin_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

# Compile and link a target against the core library, with the same JUCE headers and macros.
function(orrin_use_core target)
    target_link_libraries(${target} PRIVATE OrrinUpmix)
    target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:OrrinUpmix,INCLUDE_DIRECTORIES>)
    target_compile_definitions(${target} PRIVATE
        JUCE_GLOBAL_MODULE_SETTINGS_INCLUDED=1
        $<IF:$<CONFIG:DEBUG>,DEBUG=1 _DEBUG=1,NDEBUG=1 _NDEBUG=1>)
    orrin_warnings(${target})
endfunction()

# Files the program looks for beside its own binary (for example the dialogue network).
set(ORRIN_RUNTIME_RESOURCES "${CMAKE_CURRENT_SOURCE_DIR}/resources/dialog.net")

function(orrin_copy_resources_to target dest_dir)
    foreach(resource IN LISTS ORRIN_RUNTIME_RESOURCES)
        if(EXISTS "${resource}")
            get_filename_component(name "${resource}" NAME)
            add_custom_command(TARGET ${target} POST_BUILD
                COMMAND ${CMAKE_COMMAND} -E make_directory "${dest_dir}"
                COMMAND ${CMAKE_COMMAND} -E copy_if_different "${resource}" "${dest_dir}/${name}"
                VERBATIM)
        endif()
    endforeach()
endfunction()

macro(orrin_copy_resources)
    orrin_copy_resources_to(OrrinUpmix_VST3
        "$<GENEX_EVAL:$<TARGET_PROPERTY:OrrinUpmix_VST3,JUCE_PLUGIN_ARTEFACT_FILE>>/Contents/Resources")
    orrin_copy_resources_to(OrrinUpmix_LV2
        "$<GENEX_EVAL:$<TARGET_PROPERTY:OrrinUpmix_LV2,JUCE_PLUGIN_ARTEFACT_FILE>>")
    orrin_copy_resources_to(OrrinUpmix_Standalone "$<TARGET_FILE_DIR:OrrinUpmix_Standalone>")
endmacro()
