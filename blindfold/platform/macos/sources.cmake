# The macOS platform's files, for its library and for the tests that run them over stand-ins.
set(BLINDFOLD_MACOS_PLATFORM_SOURCES
    "${CMAKE_CURRENT_LIST_DIR}/conversion.mm"
    "${CMAKE_CURRENT_LIST_DIR}/dispatch_queues.mm"
    "${CMAKE_CURRENT_LIST_DIR}/foundation_bundle.mm"
    "${CMAKE_CURRENT_LIST_DIR}/foundation_file_manager.mm"
    "${CMAKE_CURRENT_LIST_DIR}/macos_platform.mm"
    "${CMAKE_CURRENT_LIST_DIR}/security_code_signing.mm"
    "${CMAKE_CURRENT_LIST_DIR}/xpc_helper_connection.mm")
