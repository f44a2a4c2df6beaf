target_include_directories(${bench} PRIVATE ${PROJECT_SOURCE_DIR}/tests)  # the simulated stream that tests use too
