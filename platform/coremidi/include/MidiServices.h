// The MIDI services: one MIDI system of devices, entities and endpoints, clients with ports, and
// the sending and receiving of MIDI packets. Every object is named by a 32-bit reference that stays
// valid, and is never reused, for the life of the process.
//
// Threads: a client's notifications arrive on the run loop of the thread that created the client
// (see RunLoop.h). Read procedures run on the one MIDI receive thread. Completion procedures of
// system-exclusive sends run on the system-exclusive thread.
#pragma once

#include "CFString.h"
#include "PlatformTypes.h"

typedef UInt32 MIDIObjectRef;
typedef MIDIObjectRef MIDIClientRef;
typedef MIDIObjectRef MIDIPortRef;
typedef MIDIObjectRef MIDIDeviceRef;
typedef MIDIObjectRef MIDIEntityRef;
typedef MIDIObjectRef MIDIEndpointRef;

// Host time (see HostTime.h); 0 means "now".
typedef UInt64 MIDITimeStamp;

inline constexpr OSStatus kMIDIInvalidClient = -10830;
inline constexpr OSStatus kMIDIInvalidPort = -10831;
inline constexpr OSStatus kMIDIWrongEndpointType = -10832;
inline constexpr OSStatus kMIDINoConnection = -10833;
inline constexpr OSStatus kMIDIUnknownEndpoint = -10834;
inline constexpr OSStatus kMIDIUnknownProperty = -10835;
inline constexpr OSStatus kMIDIWrongPropertyType = -10836;
inline constexpr OSStatus kMIDINoCurrentSetup = -10837;
inline constexpr OSStatus kMIDIMessageSendErr = -10838;
inline constexpr OSStatus kMIDIServerStartErr = -10839;
inline constexpr OSStatus kMIDISetupFormatErr = -10840;
inline constexpr OSStatus kMIDIWrongThread = -10841;
inline constexpr OSStatus kMIDIObjectNotFound = -10842;
inline constexpr OSStatus kMIDIIDNotUnique = -10843;
inline constexpr OSStatus kMIDINotPermitted = -10844;
inline constexpr OSStatus kMIDIUnknownError = -10845;

typedef SInt32 MIDIObjectType;
enum : MIDIObjectType {
  kMIDIObjectType_Other = -1,
  kMIDIObjectType_Device = 0,
  kMIDIObjectType_Entity = 1,
  kMIDIObjectType_Source = 2,
  kMIDIObjectType_Destination = 3,
};

// Packets are packed: each one starts right behind the last data byte of the one before, so
// walk a list with MIDIPacketNext only. `data` is declared with room for a short packet; a
// packet may be longer (up to 65535 bytes) in a list that was allocated for it.
#pragma pack(push, 1)
struct MIDIPacket {
  MIDITimeStamp timeStamp;
  UInt16 length;
  Byte data[256];
};

struct MIDIPacketList {
  UInt32 numPackets;
  MIDIPacket packet[1];
};
#pragma pack(pop)

inline MIDIPacket* MIDIPacketNext(const MIDIPacket* packet) {
  return reinterpret_cast<MIDIPacket*>(const_cast<Byte*>(packet->data) + packet->length);
}

// Header bytes of a list and of a packet, in front of the data.
inline constexpr ItemCount kMIDIPacketListHeaderSize = sizeof(UInt32);
inline constexpr ItemCount kMIDIPacketHeaderSize = sizeof(MIDITimeStamp) + sizeof(UInt16);

struct MIDISysexSendRequest;
typedef void (*MIDICompletionProc)(MIDISysexSendRequest* request);

// Owned by the sender until its completion procedure has run. The system advances `data` and
// lowers `bytesToSend` as it sends. The sender may set `complete` to stop the transfer early;
// the system reads it atomically (std::atomic_ref), so a sender on another thread writes it so too.
struct MIDISysexSendRequest {
  MIDIEndpointRef destination;
  const Byte* data;
  UInt32 bytesToSend;
  Boolean complete;
  Byte reserved[3];
  MIDICompletionProc completionProc;
  void* completionRefCon;
};

typedef SInt32 MIDINotificationMessageID;
enum : MIDINotificationMessageID {
  kMIDIMsgSetupChanged = 1,
  kMIDIMsgObjectAdded = 2,
  kMIDIMsgObjectRemoved = 3,
  kMIDIMsgPropertyChanged = 4,
  kMIDIMsgThruConnectionsChanged = 5,
  kMIDIMsgSerialPortOwnerChanged = 6,
  kMIDIMsgIOError = 7,
};

struct MIDINotification {
  MIDINotificationMessageID messageID;
  UInt32 messageSize;
};

// messageID kMIDIMsgObjectAdded or kMIDIMsgObjectRemoved.
struct MIDIObjectAddRemoveNotification {
  MIDINotificationMessageID messageID;
  UInt32 messageSize;
  MIDIObjectRef parent;
  MIDIObjectType parentType;
  MIDIObjectRef child;
  MIDIObjectType childType;
};

// messageID kMIDIMsgPropertyChanged.
struct MIDIObjectPropertyChangeNotification {
  MIDINotificationMessageID messageID;
  UInt32 messageSize;
  MIDIObjectRef object;
  MIDIObjectType objectType;
  CFStringRef propertyName;
};

typedef void (*MIDINotifyProc)(const MIDINotification* message, void* refCon);
typedef void (*MIDIReadProc)(const MIDIPacketList* packetList, void* readProcRefCon,
                             void* sourceConnectionRefCon);

extern "C" {

// Property names.
extern const CFStringRef kMIDIPropertyName;                      // string
extern const CFStringRef kMIDIPropertyAdvanceScheduleTimeMuSec;  // integer, destinations
// Integer, clients: 1 while the MIDI server behind the client is gone (a JACK server that
// stopped), 0 while it runs.
extern const CFStringRef kMIDIPropertyOffline;

// Clients and ports.
OSStatus MIDIClientCreate(CFStringRef name, MIDINotifyProc notifyProc, void* notifyRefCon,
                          MIDIClientRef* outClient);
// Disposes of the client's ports too.
OSStatus MIDIClientDispose(MIDIClientRef client);
OSStatus MIDIInputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIReadProc readProc,
                             void* refCon, MIDIPortRef* outPort);
OSStatus MIDIOutputPortCreate(MIDIClientRef client, CFStringRef portName, MIDIPortRef* outPort);
// Returns once no read procedure of the port is running (unless called from one).
OSStatus MIDIPortDispose(MIDIPortRef port);
// Connecting a source that is already connected to the port replaces its refCon.
OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source, void* connRefCon);
// Returns once no read procedure for this connection is running (unless called from one).
OSStatus MIDIPortDisconnectSource(MIDIPortRef port, MIDIEndpointRef source);

// Sending. A packet with timeStamp 0 (or one already past) is delivered at once, a later one at
// that host time. MIDISendSysex returns at once; the transfer runs on the system-exclusive thread.
OSStatus MIDISend(MIDIPortRef port, MIDIEndpointRef destination, const MIDIPacketList* packets);
OSStatus MIDISendSysex(MIDISysexSendRequest* request);

// The devices of the system. Out of range indices give 0.
ItemCount MIDIGetNumberOfDevices();
MIDIDeviceRef MIDIGetDevice(ItemCount deviceIndex);
ItemCount MIDIDeviceGetNumberOfEntities(MIDIDeviceRef device);
MIDIEntityRef MIDIDeviceGetEntity(MIDIDeviceRef device, ItemCount entityIndex);
OSStatus MIDIEntityGetDevice(MIDIEntityRef entity, MIDIDeviceRef* outDevice);
ItemCount MIDIEntityGetNumberOfSources(MIDIEntityRef entity);
MIDIEndpointRef MIDIEntityGetSource(MIDIEntityRef entity, ItemCount sourceIndex);
ItemCount MIDIEntityGetNumberOfDestinations(MIDIEntityRef entity);
MIDIEndpointRef MIDIEntityGetDestination(MIDIEntityRef entity, ItemCount destIndex);
// An endpoint without entity gives noErr and entity 0.
OSStatus MIDIEndpointGetEntity(MIDIEndpointRef endpoint, MIDIEntityRef* outEntity);

// All sources and destinations of the system, in its global order.
ItemCount MIDIGetNumberOfSources();
MIDIEndpointRef MIDIGetSource(ItemCount sourceIndex);
ItemCount MIDIGetNumberOfDestinations();
MIDIEndpointRef MIDIGetDestination(ItemCount destIndex);

// Properties. A string property comes back as a new string that the caller releases; an object
// without a name answers kMIDIUnknownProperty.
OSStatus MIDIObjectGetStringProperty(MIDIObjectRef object, CFStringRef propertyID,
                                     CFStringRef* outString);
OSStatus MIDIObjectGetIntegerProperty(MIDIObjectRef object, CFStringRef propertyID,
                                      SInt32* outValue);

// Packet list building: Init empties the list and returns where its first packet goes. Add takes
// what Init or the last Add returned as `current`, writes a new packet behind it (at it, in an
// empty list) and returns the new packet, or null when the list, `listSize` bytes long counted
// from the list's start, has no room.
MIDIPacket* MIDIPacketListInit(MIDIPacketList* packetList);
MIDIPacket* MIDIPacketListAdd(MIDIPacketList* packetList, ItemCount listSize, MIDIPacket* current,
                              MIDITimeStamp time, ItemCount dataSize, const Byte* data);

}  // extern "C"
