/// @file
/// The feature's virtual devices and their drivers: put into the system, changed and taken out again; and what there
/// is.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tandor/api.h"
#include "tandor/uncopyable.h"

namespace Vxa::Exp {

/// A device manager by command words. Everything needs an administrator's rights; the log says what was done and why
/// something failed.
///
/// A hardware identifier ("Root\VirtualPad") means every present device that has it among its own, in either case of
/// letters; 1 to 200 characters. INF paths may be relative, of 259 characters at most when complete.
///
/// Threads: any, several at once. Only std::bad_alloc leaves.
class TANDOR_API DeviceConsole : private UnCopyable {
public:
    /// The first call loads the system's device-installation library from the system directory. Where that fails, or
    /// the library lacks an entry, the log says so and every command is invalid.
    static DeviceConsole& GetInstance();

    /// Runs a command, whose word may be in either case:
    ///
    /// - install: a new device node with the identifier, of the INF's class, and the INF's driver for it. A node whose
    ///   driver then fails to install stays and is taken out by remove.
    /// - update: the INF's driver for all devices with the identifier, also when it is older than theirs
    /// - remove: takes out every matching device, then the INF's driver package, whether there was a device or not
    /// - enable: every matching device, in all hardware profiles and in the present one
    /// - disable: every matching device, in the present hardware profile
    ///
    /// enable and disable do not use `infPath`. An action that fails on one device goes on with the next. True when all
    /// of it succeeded; otherwise false, and GetLastError() has the first cause: ERROR_INVALID_FUNCTION for an invalid
    /// command, ERROR_NO_SUCH_DEVINST when there is nothing to enable or disable.
    bool ExecCommand(const std::wstring& command, const std::wstring& hardwareId, const std::wstring& infPath);

    /// Puts the INF's driver package into the system's driver store, and onto devices that it fits, with the system's
    /// own program in a process without a window. Waits for at most five minutes; a program that takes longer is not
    /// ended, because that could leave half a driver behind.
    ///
    /// True when the package is in the store, and GetLastError() then has the program's exit code: 0, 259 no device
    /// took it, 3010 or 1641 a restart of the system is needed. Otherwise false, with the exit code or the Windows
    /// error: ERROR_TIMEOUT when it still runs.
    bool ExecPnpCommand(const std::wstring& driverInfPath);

private:
    DeviceConsole();
    ~DeviceConsole();

    void Initialize();
    void Unintialize();
    std::wstring GetSystemPnputilExePath();

    bool UpdateDriver(std::wstring& hardwareId, std::wstring& infPath);
    bool InstallDevice(std::wstring& hardwareId, std::wstring& infPath);
    bool RemoveDevice(std::wstring& hardwareId, std::wstring& infPath);
    bool EnableDevice(std::wstring& hardwareId, std::wstring& infPath);
    bool DisableDevice(std::wstring& hardwareId, std::wstring& infPath);

    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// A device that is present.
struct DeviceNode {
    /// What the device is doing.
    enum class State {
        kUnknown,   ///< the system did not say
        kStarted,   ///< works with its driver
        kStopped,   ///< is there, not started, without a problem
        kDisabled,  ///< was switched off; `problem` is the system's code for that
        kProblem,   ///< `problem` says which
    };

    std::wstring instance;                   ///< its name in the system, as "ROOT\DISPLAY\0000"
    std::wstring class_name;                 ///< its setup class, as "Display"
    std::wstring description;                ///< what the driver calls the device, for people
    std::vector<std::wstring> hardware_ids;  ///< the most fitting first
    State state = State::kUnknown;           ///< as far as the system tells
    unsigned long problem = 0;               ///< of kDisabled and kProblem: the system's problem code
};

/// A driver package's INF file.
struct DriverInf {
    std::wstring path;        ///< complete
    std::wstring class_name;  ///< the setup class that the INF is for
    /// Folders of the driver store with packages that were staged from a file of this name:
    /// "<name>_<processor>_<digest>" in `DriverStore\FileRepository` below the system directory. Empty where there is
    /// no such store.
    std::vector<std::wstring> store_folders;
};

/// Looks, and changes nothing; needs no rights.
///
/// Threads: any, several at once. Results: 0, or the Windows error and `out` empty. Only std::bad_alloc leaves.
class TANDOR_API DeviceInventory {
public:
    /// All present devices, in the system's order.
    [[nodiscard]] static unsigned long List(std::vector<DeviceNode>& out);
    /// Those that a command with this hardware identifier means; none is not an error.
    [[nodiscard]] static unsigned long Find(const std::wstring& hardwareId, std::vector<DeviceNode>& out);
    /// What a command with this INF path would work with.
    [[nodiscard]] static unsigned long ReadInf(const std::wstring& infPath, DriverInf& out);
};

}  // namespace Vxa::Exp
