#pragma once
#include "platform/camera_types.h"
#include "platform/error.h"
#include "platform/image.h"
#include "platform/simulated/simulation.h"

#include <cstdint>
#include <functional>
#include <mutex>

namespace vireo {

/// A program's hold on one simulated camera: what both kinds of camera object do. The operations are
/// those of the camera library; threads and errors as there.
class CameraLink {
public:
    /// `first` is the camera that the object was made for; Connect may choose another one.
    CameraLink(Simulation& simulation, Device& first, bool bGigE);
    ~CameraLink();
    CameraLink(const CameraLink&) = delete;
    CameraLink& operator=(const CameraLink&) = delete;

    Error Connect(const PGRGuid& guid);
    Error Disconnect();
    bool IsConnected() const;
    Error StartCapture();
    Error StopCapture();
    Error RetrieveBuffer(Image& image);
    void CancelRetrieve();
    StreamStatistics GetStreamStatistics() const;
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue);
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue);

    /// Does `work` with the connected camera under the simulation's mutex, all that was due until now
    /// being done: the frame of every other operation.
    Error Do(Operation eOperation, const std::function<Error(Device& device)>& work);
    /// The same for a change that matters to a running capture.
    Error Change(Operation eOperation, const std::function<Error(Device& device)>& work);
    /// The same for one that a running capture forbids.
    Error ChangeImage(Operation eOperation, const std::function<Error(Device& device)>& work);

    Simulation& GetSimulation() const { return m_simulation; }
    /// Readies the pictures for the camera's image settings; then a start takes no time. Without the mutex.
    void PrepareScene();
    /// Under the mutex: what forbids a start.
    Error CheckStart() const;
    Device& GetDevice() const { return *m_pDevice; }

private:
    Error Begin(Operation eOperation);
    void Release();
    Error WaitForFrame(std::unique_lock<std::mutex>& lock, FrameOnTheWay& frame);
    Error NextFrame(std::uint64_t uiRun, FrameOnTheWay& frame, bool& bFound);

    Simulation& m_simulation;
    Device* m_pDevice; ///< never null
    const bool m_bGigE;
    bool m_bConnected = false; ///< guarded by the simulation's mutex
};

} // namespace vireo
