# Objects and calls, in this process and between processes.

find_package(Threads REQUIRED)

add_executable(binder_probe_service
  ${CMAKE_CURRENT_LIST_DIR}/binder_probe_service.cpp
  ${CMAKE_CURRENT_LIST_DIR}/binder_probe.cpp
  ${CMAKE_CURRENT_LIST_DIR}/../support/child_process.cpp)
target_include_directories(binder_probe_service PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(binder_probe_service
  PRIVATE corvex::binder Threads::Threads corvex::warnings)
corvex_program(binder_probe_service)

corvex_test(binder_test
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/binder_death_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_memory_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_parcel_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_probe.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_remote_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_service_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/binder_wire_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../support/child_process.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../support/log_recorder.cpp
    ${PROJECT_SOURCE_DIR}/platform/libbinder/src/message.cpp
  LINK corvex::binder android::log Threads::Threads)
target_compile_definitions(binder_test
  PRIVATE BINDER_PROBE_SERVICE="$<TARGET_PROPERTY:binder_probe_service,CORVEX_PROGRAM>")
add_dependencies(binder_test binder_probe_service)
