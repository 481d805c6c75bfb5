# Cameras: the matrix block, the controller that feeds it, and the registry of controllers.
list(APPEND GLEAMWORK_SOURCES
  Camera.cpp
  CameraController.cpp
  CameraManager.cpp)
