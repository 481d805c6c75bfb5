// Imports a model in a process of its own, so that a file that breaks the importer breaks nothing else, a large one
// gives all its memory back, and stopping is immediate.
#pragma once

#include "scene/Importer.h"

#include <string>
#include <sys/types.h>

namespace gleamview {

/// One import at a time. Made, started, polled until it is done, and asked for its result; all on one thread.
class ImportProcess
{
public:
    ImportProcess() = default;
    /// Ends an import that is still running.
    ~ImportProcess();
    ImportProcess(const ImportProcess&) = delete;
    ImportProcess& operator=(const ImportProcess&) = delete;

    /// Starts `program` (this program, unless told otherwise) as importer of a file. False when that fails.
    bool Start(const std::string& path, UpAxis up, std::string& error, const char* program = "/proc/self/exe");
    /// Waits up to so long for news and takes them in. True when the import is over.
    bool Poll(int milliseconds);
    /// What is being done and how much of it is, from 0 to 1.
    const std::string& GetStep() const { return m_step; }
    float GetShare() const { return m_share; }
    /// Behind Poll's true: the scene, or false with a sentence that names the file.
    bool TakeResult(SceneData& scene, std::string& error);

private:
    void ReadNews();
    void TakeLine(const std::string& line);
    std::string DescribeEnd() const;

    std::string m_path;
    std::string m_step = "starting";
    std::string m_said;   ///< the importer's own error
    std::string m_unread; ///< the beginning of a line
    float m_share = 0.0f;
    pid_t m_process = -1;
    int m_news = -1;  ///< the pipe on which the importer talks
    int m_scene = -1; ///< the file in memory that takes the scene
    int m_status = 0;
    bool m_isOver = false;
};

/// True for the arguments with which Start calls this program.
bool IsImportChild(int argc, char** argv);
/// The importer's side; gives the process's exit status.
int RunImportChild(char** argv);

} // namespace gleamview
