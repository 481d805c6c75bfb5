# The data loader's loads from files.
list(APPEND GLEAMWORK_SOURCES
  GWDataLoaderFiles.cpp
  GWDataLoaderImageCommands.cpp)
