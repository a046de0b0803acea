# The installed gSOAP: its C++ library, its GET plug-in, its generator.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GSOAP REQUIRED gsoapck++) # gSOAP's C++ library with cookies
find_program(SOAPCPP2 soapcpp2 REQUIRED)
find_path(GSOAP_PLUGIN_DIR httpget.c PATHS /usr/share/gsoap/plugin REQUIRED)

# All code that sees struct soap is compiled with the macros of gSOAP's library, because the layout of the
# struct depends on them. SOAP_FMAC5 gives the operations and the dispatcher C linkage.
add_library(gsoap INTERFACE)
target_compile_options(gsoap INTERFACE ${GSOAP_CFLAGS})
target_compile_definitions(gsoap INTERFACE "SOAP_FMAC5=extern \"C\"")
target_compile_options(gsoap INTERFACE
  $<$<CXX_COMPILER_ID:Clang>:-Wno-duplicate-decl-specifier>) # the generator repeats extern "C"
target_include_directories(gsoap SYSTEM INTERFACE ${GSOAP_PLUGIN_DIR})

# The fuzzers reach gSOAP's code only if it is compiled as they are, from its source.
set(GSOAP_SOURCE "" CACHE PATH "Folder of stdsoap2.cpp; empty: the installed library is used")
if(GSOAP_SOURCE)
  add_library(gsoapSource SHARED ${GSOAP_SOURCE}/stdsoap2.cpp)
  target_compile_options(gsoapSource PRIVATE ${GSOAP_CFLAGS}
    -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/gsoap_harmless.txt)
  # It walks its two tables several times per request: smaller ones leave more time for the rest.
  target_compile_definitions(gsoapSource PUBLIC SOAP_IDHASH=19 SOAP_PTRHASH=16)
  target_link_libraries(gsoapSource PRIVATE webServerBuild)
  target_link_libraries(gsoap INTERFACE gsoapSource)
else()
  target_link_libraries(gsoap INTERFACE ${GSOAP_LINK_LIBRARIES})
endif()

set(GSOAP_GET_PLUGIN ${GSOAP_PLUGIN_DIR}/httpget.c)
set_source_files_properties(${GSOAP_GET_PLUGIN} PROPERTIES LANGUAGE CXX)

# Sets GENERATED_DIR, GENERATED_SOURCES and WSDL_FILES (SOAP 1.1 and 1.2).
function(generate_soap description)
  set(description ${CMAKE_CURRENT_SOURCE_DIR}/${description})
  set(directory ${CMAKE_CURRENT_BINARY_DIR}/generated)
  set(sources ${directory}/soapC.cpp ${directory}/soapServer.cpp)
  set(wsdl ${directory}/soapServ.wsdl)
  set(wsdl12 ${directory}/soapServ12.wsdl)

  # -S server code only, -L no library files, -x no sample messages, -z3 pointers as nillable elements,
  # -2 the WSDL for SOAP 1.2.
  set(generate ${SOAPCPP2} -c++ -S -L -x -z3)
  # Three things in the WSDL stop tools that make clients from it, and sed changes them. The message of the
  # header names an element that no schema declares, which strict tools refuse. The import of the SOAP encoding
  # is not used, and some tools try to download it. A message part with the usual name `parameters` lets a tool
  # make a function of the fields; with any other name it makes one of a request object.
  set(clean sed -e "/<message name=\"soapServHeader\">/,/<\\/message>/d" -e "/<import .*encoding/d"
    -e "s/\\(<part name\\|parts\\)=\"Body\"/\\1=\"parameters\"/")
  add_custom_command(
    OUTPUT ${sources} ${directory}/soapH.h ${directory}/soapServ.nsmap ${wsdl} ${wsdl12}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${directory}/raw12
    COMMAND ${generate} -d ${directory} ${description} > ${directory}/generate.log 2>&1
    COMMAND ${generate} -2 -d ${directory}/raw12 ${description} > ${directory}/raw12/generate.log 2>&1
    COMMAND ${clean} -i ${wsdl}
    COMMAND ${clean} ${directory}/raw12/soapServ.wsdl > ${wsdl12}
    DEPENDS ${description}
    COMMENT "Generating the SOAP service"
    VERBATIM)

  set(GENERATED_DIR ${directory} PARENT_SCOPE)
  set(GENERATED_SOURCES ${sources} PARENT_SCOPE)
  set(WSDL_FILES ${wsdl} ${wsdl12} PARENT_SCOPE)
endfunction()
