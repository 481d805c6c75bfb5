# Files, streams, object files, translations and message boxes.
find_package(pugixml REQUIRED)
list(APPEND FOUNDATION_SOURCES
  src/files/FileReader.cpp
  src/files/FileSystem.cpp
  src/files/FileWriter.cpp
  src/files/MemStream.cpp
  src/files/MessageBox.cpp
  src/files/ObjectVisitor.cpp
  src/files/Path.cpp
  src/files/TranslatedString.cpp)
list(APPEND FOUNDATION_LIBS pugixml::pugixml)
