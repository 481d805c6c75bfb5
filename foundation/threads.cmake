# Worker batches, command streams and queues, numbered threads and events.
find_package(TBB REQUIRED)
list(APPEND FOUNDATION_SOURCES
  src/threads/BlockChain.cpp
  src/threads/CommandDispatcher.cpp
  src/threads/CommandDispatcherBuffer.cpp
  src/threads/CommandManager.cpp
  src/threads/Dispatcher.cpp
  src/threads/Event.cpp
  src/threads/EventVisitor.cpp
  src/threads/ThreadManager.cpp
  src/threads/WorkerBatch.cpp
  src/threads/WorkerThread.cpp)
list(APPEND FOUNDATION_LIBS TBB::tbb)
