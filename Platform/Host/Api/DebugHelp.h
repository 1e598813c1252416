// The debug-help library: what code addresses are called, the frames of a stack, minidumps.
//
// Programs reach these functions by name, through LoadLibraryW("DbgHelp.dll") and GetProcAddress. Addresses
// are the host's, whole. Symbols are those of the program and its shared libraries, with their linker's
// names; there are no lines. Where a name stands for 32-bit types on the real platform, the types here have
// the host's width and so other sizes: size fields are set by sizeof.
#pragma once

#include "Platform/Host/Api/Faults.h"
#include "Platform/Host/Api/Types.h"

#define IMAGEAPI WINAPI

struct API_VERSION {
    WORD MajorVersion;
    WORD MinorVersion;
    WORD Revision;
    WORD Reserved;
};
using LPAPI_VERSION = API_VERSION*;

constexpr DWORD SYMOPT_UNDNAME = 0x00000002;
constexpr DWORD SYMOPT_DEFERRED_LOADS = 0x00000004;
constexpr DWORD SYMOPT_LOAD_LINES = 0x00000010;
constexpr DWORD SYMOPT_EXACT_SYMBOLS = 0x00000400;

struct IMAGEHLP_SYMBOL {
    DWORD SizeOfStruct;
    DWORD_PTR Address;
    DWORD Size;
    DWORD Flags;
    DWORD MaxNameLength; // room for the name; a longer one is cut
    char Name[1];
};
using PIMAGEHLP_SYMBOL = IMAGEHLP_SYMBOL*;

struct IMAGEHLP_LINE {
    DWORD SizeOfStruct;
    LPVOID Key;
    DWORD LineNumber;
    char* FileName;
    DWORD_PTR Address;
};
using PIMAGEHLP_LINE = IMAGEHLP_LINE*;

struct IMAGEHLP_MODULE {
    DWORD SizeOfStruct;
    DWORD_PTR BaseOfImage;
    DWORD ImageSize;
    DWORD TimeDateStamp;
    DWORD CheckSum;
    DWORD NumSyms;
    DWORD SymType;
    char ModuleName[32];
    char ImageName[256];
    char LoadedImageName[256];
};
using PIMAGEHLP_MODULE = IMAGEHLP_MODULE*;

constexpr int AddrModeFlat = 3;

struct ADDRESS {
    DWORD_PTR Offset;
    WORD Segment;
    int Mode;
};

struct STACKFRAME {
    ADDRESS AddrPC;
    ADDRESS AddrReturn;
    ADDRESS AddrFrame;
    ADDRESS AddrStack;
    LPVOID FuncTableEntry;
    DWORD_PTR Params[4]; // the words above the return address
    BOOL Far;
    BOOL Virtual;
    DWORD_PTR Reserved[3];
};
using LPSTACKFRAME = STACKFRAME*;

using PREAD_PROCESS_MEMORY_ROUTINE = BOOL(WINAPI*)(HANDLE process, DWORD_PTR base, LPVOID buffer, DWORD size,
                                                   LPDWORD read);
using PFUNCTION_TABLE_ACCESS_ROUTINE = LPVOID(WINAPI*)(HANDLE process, DWORD_PTR address);
using PGET_MODULE_BASE_ROUTINE = DWORD_PTR(WINAPI*)(HANDLE process, DWORD_PTR address);
using PTRANSLATE_ADDRESS_ROUTINE = DWORD_PTR(WINAPI*)(HANDLE process, HANDLE thread, ADDRESS* address);

constexpr DWORD IMAGE_FILE_MACHINE_I386 = 0x014C;

enum MINIDUMP_TYPE { MiniDumpNormal = 0 };

struct MINIDUMP_EXCEPTION_INFORMATION {
    DWORD ThreadId;
    PEXCEPTION_POINTERS ExceptionPointers;
    BOOL ClientPointers;
};
using PMINIDUMP_EXCEPTION_INFORMATION = MINIDUMP_EXCEPTION_INFORMATION*;

using PMINIDUMP_USER_STREAM_INFORMATION = struct MINIDUMP_USER_STREAM_INFORMATION*;
using PMINIDUMP_CALLBACK_INFORMATION = struct MINIDUMP_CALLBACK_INFORMATION*;

LPAPI_VERSION IMAGEAPI ImagehlpApiVersion();

DWORD IMAGEAPI SymGetOptions();
DWORD IMAGEAPI SymSetOptions(DWORD options); // gives them back
// Once a process handle, as long as nothing ends it. The search path is taken and not used.
BOOL IMAGEAPI SymInitialize(HANDLE process, const char* searchPath, BOOL invadeProcess);
BOOL IMAGEAPI SymInitializeW(HANDLE process, LPCWSTR searchPath, BOOL invadeProcess);

BOOL IMAGEAPI SymGetSymFromAddr(HANDLE process, DWORD_PTR address, DWORD_PTR* displacement,
                                PIMAGEHLP_SYMBOL symbol);
BOOL IMAGEAPI SymGetLineFromAddr(HANDLE process, DWORD_PTR address, LPDWORD displacement,
                                 PIMAGEHLP_LINE line);
BOOL IMAGEAPI SymGetModuleInfo(HANDLE process, DWORD_PTR address, PIMAGEHLP_MODULE module);
DWORD_PTR IMAGEAPI SymGetModuleBase(HANDLE process, DWORD_PTR address); // 0: in no module
LPVOID IMAGEAPI SymFunctionTableAccess(HANDLE process, DWORD_PTR address);
DWORD_PTR IMAGEAPI SymLoadModule(HANDLE process, HANDLE file, const char* imageName, const char* moduleName,
                                 DWORD_PTR base, DWORD size);

// The frames of a suspended thread, or of the calling one; the first is the one that the frame and the
// context tell of. FALSE: the walk has ended. The machine and the routines do not matter.
BOOL IMAGEAPI StackWalk(DWORD machine, HANDLE process, HANDLE thread, LPSTACKFRAME frame, LPVOID context,
                        PREAD_PROCESS_MEMORY_ROUTINE readMemory,
                        PFUNCTION_TABLE_ACCESS_ROUTINE functionTableAccess,
                        PGET_MODULE_BASE_ROUTINE getModuleBase, PTRANSLATE_ADDRESS_ROUTINE translateAddress);

// Of this process: its threads with their registers and the upper end of their stacks, its modules, the
// system and, when there is one, the exception. Client pointers, user streams and the callback are refused.
BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                              MINIDUMP_EXCEPTION_INFORMATION* exception,
                              PMINIDUMP_USER_STREAM_INFORMATION userStreams,
                              PMINIDUMP_CALLBACK_INFORMATION callback);
