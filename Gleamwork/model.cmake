# Models: vertices, indices and format as handles, and the triangles to pick.
list(APPEND GLEAMWORK_SOURCES
  Model.cpp
  ModelPicking.cpp
  ModelStreams.cpp)
