# qf_add_page_plugin(NAME SOURCES source... METADATA file.json [LIBRARIES library...])
#
# Makes the page plug-in NAME, a loadable module NAME.so. The metadata file says who it is:
#
#   {"identifier": "com.example.notes", "version": "1.0", "name": "Notes", "author": "...", "description": "..."}
#
# and becomes, with the API level of the library added, the file "QFPagePlugin.json" that the module's
# Q_PLUGIN_METADATA compiles in. "oldestApiLevel" may be given too: the oldest level that the module can run with (that
# of the library it is built with, unless it says otherwise).
#
# The module lies in the folder "plugins" of the build, or in QF_PLUGIN_OUTPUT_DIRECTORY, and is installed into
# lib/quillfern/plugins of the prefix, where qf looks for it.

# Stops with the sentence that says which key of a metadata file is missing or wrong.
function(_qf_check_plugin_metadata file json)
    string(JSON type ERROR_VARIABLE error TYPE "${json}")
    if(error OR NOT type STREQUAL "OBJECT")
        message(FATAL_ERROR "${file}: no JSON object: ${error}")
    endif()
    foreach(key IN ITEMS identifier version name author description)
        string(JSON type ERROR_VARIABLE error TYPE "${json}" ${key})
        if(error)
            message(FATAL_ERROR "${file}: \"${key}\" is missing")
        endif()
        if(NOT type STREQUAL "STRING")
            message(FATAL_ERROR "${file}: \"${key}\" must be a string")
        endif()
        string(JSON value GET "${json}" ${key})
        if(value MATCHES "^[ \t\r\n]*$")
            message(FATAL_ERROR "${file}: \"${key}\" must not be empty")
        endif()
        if(key STREQUAL "identifier" AND NOT value MATCHES "^[A-Za-z][A-Za-z0-9-]*(\\.[A-Za-z0-9-]+)+$")
            message(FATAL_ERROR "${file}: \"identifier\" must be of the form \"com.example.notes\", with letters, "
                "digits and \"-\" between the dots; it is \"${value}\"")
        endif()
        if(key STREQUAL "version" AND NOT value MATCHES "^[0-9]+(\\.[0-9]+)*$")
            message(FATAL_ERROR "${file}: \"version\" must be numbers with dots between them, such as \"1.2\"; it is "
                "\"${value}\"")
        endif()
    endforeach()
endfunction()

# Answers the metadata with the API levels added.
function(_qf_complete_plugin_metadata file json result)
    set(header "${QFPluginUtilities_INCLUDE_DIR}/plugin/QFPluginAPI.h")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
    file(READ "${header}" api)
    if(NOT api MATCHES "QFPluginAPILevel = ([0-9]+);")
        message(FATAL_ERROR "${header}: has no API level")
    endif()
    set(level ${CMAKE_MATCH_1})
    string(JSON json SET "${json}" apiLevel ${level})
    string(JSON type ERROR_VARIABLE error TYPE "${json}" oldestApiLevel)
    if(error)
        string(JSON json SET "${json}" oldestApiLevel ${level})
    else()
        string(JSON oldest GET "${json}" oldestApiLevel)
        if(NOT type STREQUAL "NUMBER" OR NOT oldest MATCHES "^[1-9][0-9]*$" OR oldest GREATER level)
            message(FATAL_ERROR "${file}: \"oldestApiLevel\" must be a number from 1 to ${level}, the level of this "
                "library")
        endif()
    endif()
    set(${result} "${json}" PARENT_SCOPE)
endfunction()

function(qf_add_page_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "METADATA" "SOURCES;LIBRARIES")
    if(NOT arg_SOURCES OR NOT arg_METADATA OR arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR
            "The form is: qf_add_page_plugin(NAME SOURCES source... METADATA file.json [LIBRARIES library...])")
    endif()
    cmake_path(ABSOLUTE_PATH arg_METADATA)
    if(NOT EXISTS "${arg_METADATA}")
        message(FATAL_ERROR "${arg_METADATA}: there is no such file")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${arg_METADATA}")
    file(READ "${arg_METADATA}" json)
    _qf_check_plugin_metadata("${arg_METADATA}" "${json}")
    _qf_complete_plugin_metadata("${arg_METADATA}" "${json}" json)

    # Written only when it says something else, so that configuring again does not build the module again.
    set(metadata_folder "${CMAKE_CURRENT_BINARY_DIR}/${name}_metadata")
    set(metadata "${metadata_folder}/QFPagePlugin.json")
    set(written "")
    if(EXISTS "${metadata}")
        file(READ "${metadata}" written)
    endif()
    if(NOT written STREQUAL json)
        file(WRITE "${metadata}" "${json}")
    endif()

    set(output "${CMAKE_BINARY_DIR}/plugins")
    if(QF_PLUGIN_OUTPUT_DIRECTORY)
        set(output "${QF_PLUGIN_OUTPUT_DIRECTORY}")
    endif()
    add_library(${name} MODULE ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES
        PREFIX "" SUFFIX ".so" AUTOMOC ON AUTORCC ON
        CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
        LIBRARY_OUTPUT_DIRECTORY "${output}")
    target_compile_features(${name} PRIVATE cxx_std_20)
    # A source that includes what moc writes is compiled again in the same build in which the metadata changes.
    set_property(SOURCE ${arg_SOURCES} APPEND PROPERTY OBJECT_DEPENDS "${metadata}")
    # moc finds the metadata among the include folders.
    target_include_directories(${name} PRIVATE "${metadata_folder}")
    target_link_libraries(${name} PRIVATE QFPluginUtilities::QFPluginUtilities ${arg_LIBRARIES})
    # What is not defined anywhere is said here rather than when the module is loaded. The sanitizers' own functions
    # may be those of the program.
    if(NOT QF_SANITIZE AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize")
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
    install(TARGETS ${name} LIBRARY DESTINATION lib/quillfern/plugins COMPONENT plugins)
endfunction()
