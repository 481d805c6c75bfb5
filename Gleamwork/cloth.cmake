# Cloth: what a simulation is given, and the model that it moves.
list(APPEND GLEAMWORK_SOURCES
  ClothData.cpp
  ClothDuplicates.cpp
  ClothIndices.cpp
  ClothLinks.cpp
  ClothModel.cpp
  ClothModelSkinning.cpp
  ClothPoints.cpp
  ClothReorder.cpp
  ModelProxy.cpp
  StagingModelData.cpp)
