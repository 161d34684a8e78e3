using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

namespace HwInventory
{
    /// <summary>The level of a log line. A sound machine causes warnings, too.</summary>
    public enum LogLevel : uint
    {
        /// <summary>Progress.</summary>
        Information,

        /// <summary>A value or a source could not be read.</summary>
        Warning,

        /// <summary>A call fails.</summary>
        Error,

        /// <summary>More of a cause.</summary>
        Trace,
    }

    /// <summary>The functions of the loaded library, which stays loaded until the process ends.</summary>
    internal sealed class Library
    {
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate uint Find(out IntPtr buffer, out UIntPtr size);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate void Release(IntPtr buffer);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate IntPtr GetException();

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate void SetLogger(LogLine logger);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate void LogLine(uint level, IntPtr message);

        /// <summary>The ExceptionRecord of hw_inventory_interface.h.</summary>
        [StructLayout(LayoutKind.Sequential)]
        private struct Record
        {
            public IntPtr StackTrace, File, Function;
            public long Line;
            public IntPtr Message, ErrorText;
        }

        private sealed class Buffer : SafeHandle
        {
            private readonly Release release;

            public Buffer(IntPtr buffer, Release release) : base(IntPtr.Zero, true)
            {
                this.release = release;
                SetHandle(buffer);
            }

            public override bool IsInvalid => handle == IntPtr.Zero;

            protected override bool ReleaseHandle()
            {
                release(handle);
                return true;
            }
        }

        // One call at a time in a process; the library passes nothing of the host's to its callback.
        private static readonly object OneCall = new object();
        private static readonly LogLine Forward = ForwardLine; // must outlive every call
        private static Action<LogLevel, string> log; // that of the running call

        private readonly Dictionary<string, Find> find = new Dictionary<string, Find>();
        private readonly Release release;
        private readonly GetException getException;
        private readonly SetLogger setLogger;

        public Library(string path)
        {
            var module = Native.Load(path);
            foreach (var kind in Document.Types.Keys)
                find[kind] = Native.Function<Find>(module, "hardware_inventory_find_" + kind.Replace('-', '_'));
            release = Native.Function<Release>(module, "release_buffer");
            getException = Native.Function<GetException>(module, "hardware_inventory_get_exception");
            setLogger = Native.Function<SetLogger>(module, "hardware_inventory_set_logger");
        }

        /// <summary>Returns a copy of the document. The thread stays connected to WMI.</summary>
        public byte[] Collect(string kind, Action<LogLevel, string> logger)
        {
            lock (OneCall)
            {
                log = logger;
                if (logger != null)
                    setLogger(Forward);
                try
                {
                    var status = find[kind](out var address, out var size);
                    if (status != 0)
                        throw Failure(kind, (Status)status, size);
                    using (new Buffer(address, release))
                        return Copy(address, checked((int)size) - 1);
                }
                finally
                {
                    if (logger != null)
                        setLogger(null);
                }
            }
        }

        // A call that fails with its size written had no memory for the document, and the record is that of an earlier failure.
        private InventoryException Failure(string kind, Status status, UIntPtr size)
        {
            var record = size == UIntPtr.Zero ? Marshal.PtrToStructure<Record>(getException()) : new Record();
            return new InventoryException(kind, status, new FailureRecord
            {
                Message = Text(record.Message),
                ErrorText = Text(record.ErrorText),
                File = Text(record.File),
                Function = Text(record.Function),
                Line = record.Line,
                StackTrace = Text(record.StackTrace),
            });
        }

        private static void ForwardLine(uint level, IntPtr message)
        {
            try
            {
                log((LogLevel)level, Text(message));
            }
            catch // not into the library
            {
            }
        }

        private static string Text(IntPtr c)
        {
            var length = 0;
            while (c != IntPtr.Zero && Marshal.ReadByte(c, length) != 0)
                length++;
            return Encoding.UTF8.GetString(Copy(c, length));
        }

        private static byte[] Copy(IntPtr from, int length)
        {
            var bytes = new byte[length];
            if (length > 0)
                Marshal.Copy(from, bytes, 0, length);
            return bytes;
        }
    }
}
