#pragma once

#include <string>

namespace px40::sim {

/// A pseudo-terminal whose other side looks like a serial device to the program that opens it.
///
/// The device's own side is kept open as well, so that programs may open and close the device at will. All
/// descriptors are closed with the object, which hangs up whoever has the device open.
class PseudoTerminal
{
  public:
    /// A new one in raw mode. Throws std::system_error when the system has none to give.
    static PseudoTerminal Open();

    PseudoTerminal(PseudoTerminal &&other) noexcept;
    PseudoTerminal &operator=(PseudoTerminal &&other) noexcept;
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;
    ~PseudoTerminal();

    /// Non-blocking descriptor of the instrument's side; -1 in an object that was moved from.
    int Master() const { return master_; }
    const std::string &Path() const { return path_; }

    /// Readable when programs have opened or closed the device; -1 where the system cannot tell.
    int Watch() const { return watch_; }
    /// To be called when `Watch()` is readable. After the last program has closed the device it is as fresh
    /// as a serial port would be: what nobody read is gone, and it is open to everybody again.
    void NoticePrograms();

  private:
    PseudoTerminal() = default;
    bool MakeRaw() const;

    int master_ = -1;
    int slave_ = -1;
    int watch_ = -1;
    int programs_ = 0;
    std::string path_;
};

/// A symbolic link by which the device has the same name however often it comes and goes.
class DeviceLink
{
  public:
    /// No link for an empty path.
    explicit DeviceLink(std::string path) : path_(std::move(path)) {}
    DeviceLink(const DeviceLink &) = delete;
    DeviceLink &operator=(const DeviceLink &) = delete;
    ~DeviceLink() { Remove(); }

    /// Makes the link or moves it. An older link of that name is replaced; a file of that name is not, and
    /// throws std::system_error as does a folder that cannot be written.
    void Point(const std::string &device);
    /// Takes the link away unless somebody else has changed it meanwhile.
    void Remove() noexcept;

  private:
    std::string path_;
    std::string device_;
};

} // namespace px40::sim
