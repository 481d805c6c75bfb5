# Debug lines: the lines, their manager, the shapes it draws with them.
list(APPEND GLEAMWORK_SOURCES
  Line.cpp
  LineCurves.cpp
  LineDrawing.cpp
  LineIndex.cpp
  LineMan.cpp
  LineShapes.cpp)
