/// @file
/// The Windows Firewall rule that lets the feature's message centre accept connections.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "tandor/api.h"

class IPCMessageClient;

/// One rule of the Windows Firewall: it allows inbound connections of every protocol, on every profile, to the program
/// that runs this code. Edge traversal stays at the firewall's default. The rule's name, group, description and program
/// are handed to the firewall as texts of exactly 500 characters, filled up with zeros; a text from the caller ends at
/// its first zero and is cut after 499 characters.
///
/// Results are HRESULTs: 0 or positive for success. E_ACCESSDENIED (0x80070005) means that changing the firewall needs
/// administrator rights; the host log says so too. Each failure is written to the host log. Without a connection to the
/// firewall every operation fails with the HRESULT of the connection attempt. Nothing is thrown but std::bad_alloc.
///
/// Threads: an object belongs to the thread that made it. It keeps that thread in a single-threaded COM apartment for
/// as long as it lives; a thread that is in the multithreaded apartment already stays there, and is in it still
/// afterwards.
class TANDOR_API Firewall {
public:
    /// The message centre's rule: "PVAMessageCenter" of the group "PV Assistant", described as "PVAMessageCenter.exe".
    Firewall();
    /// A rule of that group with another name and description.
    Firewall(const std::wstring& name, const std::wstring& description);
    /// Gives the apartment back. Rules stay as they are.
    ~Firewall();
    Firewall(const Firewall&) = delete;
    Firewall& operator=(const Firewall&) = delete;

    /// Connects to the firewall anew.
    void InitRules();

    /// Removes every rule of the name and, when the user's firewall plan is on, adds the rule. With the plan off
    /// nothing is added and the result is that of the removal.
    long AddFirewallRules();

    /// Adds the rule. One of that name that is there already stays. Nothing is added when any of the rule's settings
    /// was refused, or when the program's path has 500 characters or more (a cut path would name another program).
    long AddFirewallRuleWithEdgeTraversal();

    /// Remove: DeleteExistFirewallRules all rules of the name, DeleteFirewallRule one of them. Success also when there
    /// is none.
    /// @{
    long DeleteExistFirewallRules();
    long DeleteFirewallRule();
    /// @}

    /// Whether the rules of the group are enabled: IsRuleGroupEnabled on private and public networks,
    /// IsRuleGroupCurrentlyEnabled on the networks that the machine is connected to now. 1 yes, 0 no, negative (the
    /// HRESULT) on failure.
    /// @{
    int IsRuleGroupEnabled();
    int IsRuleGroupCurrentlyEnabled();
    /// @}

    /// Removes the system's rules for DHCP and Internet connection sharing, which keep the feature's own hotspot from
    /// handing out addresses: those for a program "svchost.exe" whose name contains "Internet" (the name is what is
    /// tested, since rules are removed by name) and one of "(DHCPv4-In)", "(DHCP Server-In)" and "(SharedAccess-Out)".
    /// Returns at once; a thread of its own does the work and tells the host log what it removed. It keeps the library
    /// loaded until it ends. A call while it runs, or within 15 s of the last start, does nothing. Any thread; nothing
    /// is thrown.
    static void RemoveDHCPRules() noexcept;

    /// The same on the caller's thread, whenever it is called: 0, or the HRESULT of the first step that failed. What
    /// could be removed is removed all the same; `removed` says how many rules that were.
    static long RemoveDHCPRulesAndWait(int& removed);

private:
    struct State;
    State* state_;
};

/// Decides when the message centre's rule is wanted, and remembers it: the text "1" in the value "Fireware" of the
/// machine's key `SOFTWARE\Pelora\VXLoginGuide` says that the feature has enabled the rule.
///
/// What this process has no right to do it asks the suite's assistant service for: a message over the pipe
/// `\\.\Pipe\iPaviloAssistant` from client 0x490084 to module 0x490000, number 0x490086 to enable the rule and 0x490087
/// to disable it. Its data are two packed strings (VxIpcPackage): the rule's name and the path of the program it is
/// for, UTF-8.
///
/// Threads: every operation may run on any thread; those that touch the firewall use a Firewall object of their own.
/// Operations that return bool tell the cause of a false in the host log. Only std::bad_alloc may leave.
class TANDOR_API FireWallRuleManger {
public:
    /// The process-wide instance; it lives until the library is unloaded.
    static FireWallRuleManger& GetInstance();

    /// Whether the user's firewall plan is on and the rule's group is enabled.
    bool CheckRule();

    /// Notes in the registry that the rule is enabled, unless that is noted already, and puts the rule in place as
    /// Firewall::AddFirewallRules does (with the plan off that is none, and still true). False when either fails; a
    /// note stays even when the firewall refuses the rule.
    bool EnableRule();

    /// Removes the rules of the name and notes "0" in the registry. False when either fails; the note is left alone as
    /// long as a rule is still there.
    bool DisableRule();

    /// Sees to it that the rule is wanted: asks the user when it is not in place (false when the user declines), is
    /// content when it is (unless `force`), and otherwise asks the service to enable it. True as well when the service
    /// cannot be reached: the request is kept until OnServerStarted.
    bool TryEnableRule(const std::wstring& title, const std::wstring& text, bool force);

    /// Asks the user a question with Yes and No, in front of other windows, and waits for the answer. False for No, for
    /// a closed question, and at once where no user can be asked: in a process without an interactive window station,
    /// as a service is.
    bool ShowDialog(const std::wstring& title, const std::wstring& text);

    /// Ask the service to enable or to disable the rule; true when the request was taken to be sent. Each fails at once
    /// when there is no service: OnSendFail is called then. A request to enable is kept until it was taken; one to
    /// disable drops it.
    /// @{
    bool EnableRuleByService();
    bool DisableRuleByService();
    /// @}

    /// Events, from whoever watches the service: a request did not reach it, which the host log is told,
    void OnSendFail();
    /// it has started, and a kept request is sent,
    void OnServerStarted();
    /// the rule was found to be in place, and a kept request is dropped.
    void OnAllowFound();

private:
    FireWallRuleManger();
    ~FireWallRuleManger();
    FireWallRuleManger(const FireWallRuleManger&) = delete;
    FireWallRuleManger& operator=(const FireWallRuleManger&) = delete;
    bool Send(int message);

    std::unique_ptr<IPCMessageClient> client_;
    std::atomic<bool> rule_enabled_{false};
    std::atomic<bool> server_started_{false};
    std::atomic<bool> request_kept_{false};
};
