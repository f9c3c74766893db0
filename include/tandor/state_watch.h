/// @file
/// What one process can learn about another: whether it is there, which files it holds open, how it was started, and
/// its windows. Failures are logged, and results say so; only what a visitor throws and std::bad_alloc leave.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tandor/api.h"
#include "tandor/uncopyable.h"

struct HWND__;  ///< a window, as the system's headers declare it

/// Announces this process's state by the mere existence of two named kernel events: A while it is initialised, B while
/// it is started. The kernel removes them when the process ends, however it ends. The names are the caller's choice
/// ("Local\..." or "Global\..." as the system takes them).
///
/// Threads: an object belongs to one thread at a time. Copies share the handles without counting them: only one of them
/// may hold handles when it is destroyed.
class TANDOR_API TdProcessStatePresenter {
public:
    /// Keeps the names; nothing is created yet.
    TdProcessStatePresenter(std::wstring eventAName, std::wstring eventBName);
    /// Shares the handles; see the class. An assignment does not close those that it replaces.
    /// @{
    TdProcessStatePresenter(const TdProcessStatePresenter&);
    TdProcessStatePresenter& operator=(const TdProcessStatePresenter&);
    /// @}
    virtual ~TdProcessStatePresenter();  ///< drops what is held

    /// Init creates event A, Start event B. False when the name is empty or somebody, this object included, holds it
    /// already.
    /// @{
    bool Init();
    bool Start();
    /// @}

    /// Stop drops event B, UnInit event A. False when it was not held.
    /// @{
    bool Stop();
    bool UnInit();
    /// @}

    /// Creates one event; `handle` is then the caller's to close, and stays as it was on failure.
    bool TryCreateEvent(const std::wstring& name, void*& handle);

    /// As given to the constructor.
    /// @{
    [[nodiscard]] std::wstring GetEventAName() const;
    [[nodiscard]] std::wstring GetEventBName() const;
    /// @}

private:
    void* event_a_ = nullptr;
    void* event_b_ = nullptr;
    std::wstring event_a_name_;
    std::wstring event_b_name_;
};

/// Reads what a presenter announces. An event that this process may not open counts as absent.
///
/// Threads: any, several at once.
class TANDOR_API TdProcessStateWatcher {
public:
    /// Keeps the names; nothing is opened yet.
    TdProcessStateWatcher(std::wstring eventAName, std::wstring eventBName);
    /// A watcher holds its two names and nothing else.
    /// @{
    TdProcessStateWatcher(const TdProcessStateWatcher&);
    TdProcessStateWatcher& operator=(const TdProcessStateWatcher&);
    /// @}
    virtual ~TdProcessStateWatcher();

    /// 2 while event A exists plus 1 while event B exists: 0 not running, 2 initialised, 3 started as well.
    [[nodiscard]] unsigned QueryProcessState() const;

    /// Whether an event of that name exists. False for an empty name.
    [[nodiscard]] bool QueryEventState(const std::wstring& name) const;

    /// As given to the constructor.
    /// @{
    [[nodiscard]] std::wstring GetEventAName() const;
    [[nodiscard]] std::wstring GetEventBName() const;
    /// @}

private:
    std::wstring event_a_name_;
    std::wstring event_b_name_;
};

/// Looks into another process.
///
/// Threads: any, several at once; each call works on handles of its own.
class TANDOR_API TdProcessDetectorInterface {
public:
    virtual ~TdProcessDetectorInterface() = default;

    /// Calls `visitor` on this thread with every file and directory on a disk that the process holds open through a
    /// handle: once for each handle, with drive letter ("C:\dir\file") where the volume has one. Files are recognised
    /// by object type number 36; TdOpenFiles serves on systems that number them otherwise. A process that may not be
    /// opened has none.
    virtual void EnumFile(unsigned long processId,
                          std::function<void(bool isDirectory, const std::wstring& path)> visitor) = 0;

    /// The command line that the process was started with. 1, or 0 with `out` as it was.
    virtual int GetProcessCmdline(unsigned long processId, std::wstring& out) = 0;
};

/// Makes detectors of open files and command lines. Any thread.
class TANDOR_API TdProcessDetectorFactory {
public:
    /// The caller deletes the detector. Null, with the cause in the log, when it cannot work here.
    static TdProcessDetectorInterface* Create();
};

/// One handle to a file object and what was learnt of it.
struct TdOpenFile {
    /// How far the look came.
    enum class Outcome {
        kNamed,          ///< `path` is its path
        kNotDuplicated,  ///< the handle could not be looked at; `error` says why
        kNotOnDisk,      ///< a pipe, a device or a socket: never asked for its name, because that can wait for ever
        kNoName,         ///< on a disk, but the system gave no name; `error` says why
    };
    Outcome outcome = Outcome::kNamed;  ///< says which of the members below hold something
    unsigned long long handle = 0;      ///< the value in its own process
    unsigned long error = 0;            ///< Windows error code
    bool is_directory = false;          ///< of kNamed
    std::wstring path;                  ///< of kNamed: complete, with drive letter where the volume has one
};

/// The same look as EnumFile's for programs that tell people: with the number that the running system gives file
/// objects, with process and handle numbers of any size, and with an account of what could not be looked at.
class TANDOR_API TdOpenFiles {
public:
    /// Fills `out`, in the order of the system's table. 0, or the Windows error that kept the process or the table from
    /// being read; `out` is then empty.
    [[nodiscard]] static unsigned long List(unsigned long processId, std::vector<TdOpenFile>& out);
};

/// How EnumWindow walks.
struct TdWindowEnumOptions {
    unsigned recurse = 0;  ///< not 0: after each window its own children are walked in the same way
    unsigned mode = 0;  ///< 0: the window's children; 1: the top-level windows of the window's thread; others: no walk
};

/// Walks windows.
///
/// Threads: any, several at once.
class TANDOR_API TdWindowDetectorInterface {
public:
    virtual ~TdWindowDetectorInterface() = default;

    /// Calls `visitor` on this thread, inside the system's enumeration, with one window after the other until it
    /// returns true. The system's own walk of children goes down to every descendant, so with `recurse` a window is
    /// visited once for each of its ancestors that are visited; a stop inside such an inner walk ends that walk alone.
    /// A stopped walk is logged as failed. What the visitor throws ends the walk and leaves.
    virtual void EnumWindow(HWND__* window, const TdWindowEnumOptions& options,
                            std::function<bool(HWND__* window)> visitor) = 0;
};

/// Makes detectors of windows. Any thread.
class TANDOR_API TdWindowDetectorFactory {
public:
    /// The caller deletes the detector; null when there is no memory.
    static TdWindowDetectorInterface* Create();
};
