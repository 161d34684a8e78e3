using System;

namespace HwInventory
{
    /// <summary>The area that failed. Other values are possible.</summary>
    public enum Status : uint
    {
        /// <summary>WMI could not be reached.</summary>
        WmiConnection = 1,

        /// <summary>WMI refused a query.</summary>
        WmiQuery = 2,

        /// <summary>Anything else, out of memory among it.</summary>
        Other = 8,
    }

    /// <summary>What the library has recorded of a failure. Texts are empty where it has none.</summary>
    public sealed class FailureRecord
    {
        /// <summary>The cause. May contain line breaks.</summary>
        public string Message { get; internal set; }

        /// <summary>What failed, in fixed words.</summary>
        public string ErrorText { get; internal set; }

        /// <summary>The source file of the library.</summary>
        public string File { get; internal set; }

        /// <summary>The function in it.</summary>
        public string Function { get; internal set; }

        /// <summary>The line in it; 0 if unknown.</summary>
        public long Line { get; internal set; }

        /// <summary>One line a frame, of the library's own stack.</summary>
        public string StackTrace { get; internal set; }
    }

    /// <summary>A failure that the library reports.</summary>
    public sealed class InventoryException : Exception
    {
        internal InventoryException(string kind, Status status, FailureRecord record)
            : base(string.Join(": ", Array.FindAll(
                new[] { kind, "status " + (uint)status, record.ErrorText, record.Message.Trim() }, part => part != "")))
        {
            Kind = kind;
            Status = status;
            Record = record;
        }

        /// <summary>The kind of the document.</summary>
        public string Kind { get; }

        /// <summary>The area that failed.</summary>
        public Status Status { get; }

        /// <summary>The cause.</summary>
        public FailureRecord Record { get; }
    }

    /// <summary>A call that nobody waits for any more has not come back from the library.</summary>
    public sealed class InventoryBusyException : Exception
    {
        internal InventoryBusyException() : base("An earlier call has not come back.") { }
    }
}
