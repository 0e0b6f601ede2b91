cmake_minimum_required(VERSION 3.25)

set(ENV{QT_QPA_PLATFORM} offscreen)
set(prefix "${work}/prefix")
set(qf "${prefix}/bin/qf")
set(notes "${work}/field-notes")
set(configure -G Ninja "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${compiler}"
    "-DCMAKE_CXX_FLAGS=${flags}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${launcher}")

# Runs a command that has to end with the code 0; what it prints on standard output is the answer, in `output`.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT code EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}: ${code}\n${output}\n${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# Fails unless the command ends with that code, which says that it refused, and leaves nothing in the folder.
function(refuses expected)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_QUIET ERROR_QUIET)
    if(NOT code EQUAL expected)
        list(JOIN ARGN " " command)
        message(SEND_ERROR "${command}: ended with ${code} in place of ${expected}")
    endif()
endfunction()

file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}")
run(${CMAKE_COMMAND} --install "${build}" --prefix "${prefix}")

# Everything that was installed for inclusion can be included.
run(${CMAKE_COMMAND} -S "${here}/headers" -B "${work}/headers" ${configure} "-Dfolder=${prefix}/include/QFPluginUtilities")
run(${CMAKE_COMMAND} --build "${work}/headers")

# A project is there whole or not at all.
run("${qf}" new plugin field-notes --in "${work}")
refuses(1 "${qf}" new plugin field-notes --in "${work}")
refuses(1 "${qf}" new plugin other --in "${work}/missing")
foreach(name IN ITEMS "" ".." "a/b" "-a" "a-" "1a" "über" "a b")
    refuses(2 "${qf}" new plugin "${name}" --in "${work}")
endforeach()
run("${qf}" new site garden --in "${work}")
file(GLOB made RELATIVE "${work}" "${work}/*" "${work}/.*")
if(NOT made STREQUAL "field-notes;garden;headers;prefix")
    message(SEND_ERROR "there is more than was asked for: ${made}")
endif()

# The project builds, and its module is found.
run(${CMAKE_COMMAND} -S "${notes}" -B "${notes}/build" ${configure})
run(${CMAKE_COMMAND} --build "${notes}/build" -j 2)
set(ENV{QF_PLUGIN_PATH} "${notes}/build/plugins")
run("${qf}" plugins --json --strict)
string(JSON count LENGTH "${output}" plugins)
set(identifiers)
foreach(index RANGE 1 ${count})
    math(EXPR index "${index} - 1")
    string(JSON identifier GET "${output}" plugins ${index} identifier)
    list(APPEND identifiers "${identifier}")
endforeach()
if(NOT "com.example.field-notes" IN_LIST identifiers)
    message(SEND_ERROR "the module is not found: ${output}")
endif()

# Its version is that of its metadata, in the same build in which that changes.
file(READ "${notes}/FieldNotesPage.json" metadata)
string(JSON metadata SET "${metadata}" version "\"7.5\"")
file(WRITE "${notes}/FieldNotesPage.json" "${metadata}")
run(${CMAKE_COMMAND} --build "${notes}/build" -j 2)
run("${qf}" plugins)
if(NOT output MATCHES "Field notes 7\\.5, by You")
    message(SEND_ERROR "the module has kept its version: ${output}")
endif()

# Beside the others it is found without a path.
set(ENV{QF_PLUGIN_PATH})
run(${CMAKE_COMMAND} --install "${notes}/build" --prefix "${prefix}")
run("${qf}" plugins)
if(NOT output MATCHES "com\\.example\\.field-notes")
    message(SEND_ERROR "the installed module is not found: ${output}")
endif()

# A module that cannot be used is an error only when it is asked for.
file(WRITE "${work}/broken/note.so" "no module")
set(ENV{QF_PLUGIN_PATH} "${work}/broken")
run("${qf}" plugins)
refuses(1 "${qf}" plugins --strict)
set(ENV{QF_PLUGIN_PATH})

# Both projects' sites can be built.
execute_process(COMMAND "${qf}" build --help RESULT_VARIABLE code OUTPUT_QUIET ERROR_QUIET)
if(code EQUAL 0)
    run(${CMAKE_CTEST_COMMAND} --test-dir "${notes}/build" --output-on-failure)
    if("com.corvale.quillfern.styled-text" IN_LIST identifiers)
        run("${qf}" build "${work}/garden" -o "${work}/garden-out")
        run("${qf}" check "${work}/garden" -o "${work}/garden-out")
        file(READ "${work}/garden-out/index.html" page)
        if(NOT page MATCHES "Markdown</" OR NOT page MATCHES "about/index\\.html")
            message(SEND_ERROR "the site's page lacks text or links: ${page}")
        endif()
    endif()
endif()
