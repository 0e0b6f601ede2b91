# Which metadata is refused, and what is said of it.
cmake_minimum_required(VERSION 3.25)

# Called again for each row, since a refusal ends the run.
if(json)
    include("${functions}")
    set(QFPluginUtilities_INCLUDE_DIR "${headers}")
    _qf_check_plugin_metadata(notes.json "${json}")
    _qf_complete_plugin_metadata(notes.json "${json}" json)
    message(NOTICE "${json}")
    return()
endif()

function(says pattern json)
    execute_process(COMMAND ${CMAKE_COMMAND} -D "json=${json}" -D "functions=${functions}" -D "headers=${headers}"
        -P "${CMAKE_CURRENT_FUNCTION_LIST_FILE}" ERROR_VARIABLE said)
    string(REGEX REPLACE "[ \n]+" " " said "${said}")
    if(NOT said MATCHES "${pattern}")
        message(SEND_ERROR "${json}\nsays: ${said}\ninstead of: ${pattern}")
    endif()
endfunction()

set(rest "\"name\": \"Notes; [a] \${b} @c@\", \"author\": \"Jo\", \"description\": \"x\"")
says("\"apiLevel\" : 1.*\\[a\\] \\\${b} @c@.*\"oldestApiLevel\" : 1,"
    "{\"identifier\": \"com.example.notes\", \"version\": \"1\", ${rest}}")
says("notes.json: no JSON object" "[1]")
says("notes.json: no JSON object" "{")
says("notes.json: \"version\" is missing" "{\"identifier\": \"com.example.notes\", ${rest}}")
says("\"version\" must be a string" "{\"identifier\": \"com.example.notes\", \"version\": 1, ${rest}}")
says("\"version\" must be numbers" "{\"identifier\": \"com.example.notes\", \"version\": \"beta\", ${rest}}")
says("\"identifier\" must be of the form" "{\"identifier\": \"notes\", \"version\": \"1\", ${rest}}")
says("\"identifier\" must be of the form" "{\"identifier\": \"com./notes\", \"version\": \"1\", ${rest}}")
says("\"name\" must not be empty" "{\"identifier\": \"com.example.notes\", \"version\": \"1\", \"name\": \" \"}")
says("\"oldestApiLevel\" must be a number from 1 to"
    "{\"identifier\": \"com.example.notes\", \"version\": \"1\", \"oldestApiLevel\": 99, ${rest}}")
