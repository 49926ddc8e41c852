# Reads the export and import tables of the Windows module with the mingw
# objdump: it must export VSTPluginMain and main and nothing else, and import
# from Windows' own DLLs only (no C++ or threads runtime beside it).
# Run as: cmake -DOBJDUMP=objdump -DMODULE=KW_Palisorne.dll -P CheckModuleTables.cmake
cmake_minimum_required(VERSION 3.22)
set(systemDlls kernel32.dll msvcrt.dll user32.dll gdi32.dll gdiplus.dll shell32.dll shlwapi.dll ole32.dll)

execute_process(COMMAND ${OBJDUMP} -p ${MODULE} OUTPUT_VARIABLE tables RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} -p ${MODULE} failed: ${status}")
endif()

# Export names: the lines after "[Ordinal/Name Pointer] Table", as "[ n] name"
# (brackets made parentheses first: CMake lists do not split inside brackets).
string(REPLACE "[" "(" tables "${tables}")
string(REPLACE "]" ")" tables "${tables}")
string(REGEX MATCH "\\(Ordinal/Name Pointer\\) Table[^\n]*\n(([ \t]+\\([ 0-9]+\\) [^\n]+\n)*)" block "${tables}")
string(REGEX MATCHALL "\\) [^\n]+" entries "${CMAKE_MATCH_1}")
set(exports)
foreach(entry IN LISTS entries)
  string(SUBSTRING "${entry}" 2 -1 name)
  list(APPEND exports ${name})
endforeach()
list(SORT exports)
if(NOT exports STREQUAL "VSTPluginMain;main")
  message(FATAL_ERROR "exports: '${exports}', expected VSTPluginMain and main only")
endif()

string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${tables}")
set(foreign)
foreach(import IN LISTS imports)
  string(SUBSTRING "${import}" 10 -1 dll)
  string(TOLOWER "${dll}" dll)
  if(NOT dll IN_LIST systemDlls)
    list(APPEND foreign ${dll})
  endif()
endforeach()
if(NOT imports OR foreign)
  message(FATAL_ERROR "imports from non-system DLLs: '${foreign}' (all: ${imports})")
endif()
message(STATUS "exports: ${exports}; ${imports}")
