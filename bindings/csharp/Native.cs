using System;
using System.ComponentModel;
using System.IO;
using System.Runtime.InteropServices;

namespace HwInventory
{
    /// <summary>Loads the library: on Windows, and on Linux the stand-in that hosts are tested with.</summary>
    internal static class Native
    {
        private const uint SearchLoadedFolderAndSystem = 0x100 | 0x800; // LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR, ..._SYSTEM32
        private const int ModuleNotFound = 126;
        private static readonly bool Windows = Environment.OSVersion.Platform == PlatformID.Win32NT;

        public static IntPtr Load(string path)
        {
            path = Path.GetFullPath(path);
            var module = Windows ? LoadLibraryExW(path, IntPtr.Zero, SearchLoadedFolderAndSystem) : dlopen(path, 2 /* RTLD_NOW */);
            var error = Windows ? Marshal.GetLastWin32Error() : 0;
            if (module != IntPtr.Zero)
                return module;
            // Windows reports the library as missing also where one of its imports is.
            var import = Path.Combine(Path.GetDirectoryName(path), "vm_detect.dll");
            foreach (var file in new[] { path, error == ModuleNotFound ? import : path })
                if (!File.Exists(file))
                    throw new FileNotFoundException($"Cannot load {path}: {file} is missing.", file);
            var reason = Windows ? new Win32Exception(error).Message : Marshal.PtrToStringAnsi(dlerror());
            throw new DllNotFoundException($"Cannot load {path}: {reason}");
        }

        public static T Function<T>(IntPtr module, string name)
        {
            var address = Windows ? GetProcAddress(module, name) : dlsym(module, name);
            if (address == IntPtr.Zero)
                throw new EntryPointNotFoundException($"The library has no function {name}.");
            return Marshal.GetDelegateForFunctionPointer<T>(address);
        }

        [DllImport("kernel32", CharSet = CharSet.Unicode, ExactSpelling = true, SetLastError = true)]
        private static extern IntPtr LoadLibraryExW(string path, IntPtr file, uint flags);

        [DllImport("kernel32", CharSet = CharSet.Ansi, ExactSpelling = true)]
        private static extern IntPtr GetProcAddress(IntPtr module, string name);

        [DllImport("libdl.so.2")]
        private static extern IntPtr dlopen(string path, int flags);

        [DllImport("libdl.so.2")]
        private static extern IntPtr dlsym(IntPtr module, string name);

        [DllImport("libdl.so.2")]
        private static extern IntPtr dlerror();
    }
}
