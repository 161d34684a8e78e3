using System;
using System.Collections.Generic;
using System.IO;
using System.Threading;
using System.Threading.Tasks;

namespace HwInventory
{
    /// <summary>
    /// Collects documents. The calls of an Inventory run one after another on one thread of its own, which stays connected to WMI;
    /// those of several wait for each other. All members may be used from any thread.
    /// </summary>
    public sealed class Inventory : IDisposable
    {
        private sealed class Call
        {
            public readonly TaskCompletionSource<byte[]> Document =
                new TaskCompletionSource<byte[]>(TaskCreationOptions.RunContinuationsAsynchronously);
            public string Kind;
        }

        private readonly Library library;
        private readonly Action<LogLevel, string> log;
        private readonly object gate = new object(); // of the next three
        private readonly LinkedList<Call> queue = new LinkedList<Call>();
        private Call running; // completed where nobody waits for it any more
        private bool disposed;

        /// <summary>Loads the library.</summary>
        /// <param name="path">The file hw_inventory_interface.dll, with vm_detect.dll beside it.</param>
        /// <param name="log">Gets the library's log lines, on the Inventory's thread. What it throws is dropped.</param>
        /// <exception cref="FileNotFoundException">FileName is missing: the library, or vm_detect.dll.</exception>
        /// <exception cref="DllNotFoundException">The library cannot be loaded for another reason.</exception>
        public Inventory(string path, Action<LogLevel, string> log = null)
        {
            library = new Library(path);
            this.log = log;
            new Thread(Run) { IsBackground = true, Name = "hw_inventory" }.Start();
        }

        /// <summary>Ends all calls. Does not wait for the library: the thread ends after the call that runs.</summary>
        public void Dispose()
        {
            lock (gate)
            {
                disposed = true;
                running?.Document.TrySetException(new ObjectDisposedException(nameof(Inventory)));
                EndWaiting(new ObjectDisposedException(nameof(Inventory)));
                Monitor.Pulse(gate);
            }
        }

        /// <summary>Reads the machine into a document.</summary>
        /// <param name="limit">The longest to wait, from now on; one minute if null, without end if infinite.</param>
        /// <exception cref="InventoryException">The library reports a failure.</exception>
        /// <exception cref="TimeoutException">The limit is over. The library's call goes on; its result is dropped.</exception>
        /// <exception cref="OperationCanceledException">Cancelled, which leaves the library's call running, too.</exception>
        /// <exception cref="InventoryBusyException">A call that was left running is not back.</exception>
        public async Task<T> CollectAsync<T>(TimeSpan? limit = null, CancellationToken cancel = default(CancellationToken))
            where T : Document
        {
            foreach (var type in Document.Types)
                if (type.Value == typeof(T))
                    return (T)await CollectAsync(type.Key, limit, cancel).ConfigureAwait(false);
            throw new ArgumentException("Not the type of one kind: " + typeof(T));
        }

        /// <summary>Reads the machine into a document of a kind.</summary>
        public async Task<Document> CollectAsync(
            string kind, TimeSpan? limit = null, CancellationToken cancel = default(CancellationToken))
        {
            return Document.Read(kind, await CollectJsonAsync(kind, limit, cancel).ConfigureAwait(false));
        }

        /// <summary>Reads the machine and returns the document of a kind in UTF-8, as the library wrote it.</summary>
        public async Task<byte[]> CollectJsonAsync(
            string kind, TimeSpan? limit = null, CancellationToken cancel = default(CancellationToken))
        {
            if (!Document.Types.ContainsKey(kind))
                throw new ArgumentException("No kind " + kind, nameof(kind));
            cancel.ThrowIfCancellationRequested();
            var call = new Call { Kind = kind };
            lock (gate)
            {
                if (disposed)
                    throw new ObjectDisposedException(nameof(Inventory));
                if (running != null && running.Document.Task.IsCompleted)
                    throw new InventoryBusyException();
                queue.AddLast(call);
                Monitor.Pulse(gate);
            }
            using (var ended = CancellationTokenSource.CreateLinkedTokenSource(cancel))
            {
                var end = Task.Delay(limit ?? TimeSpan.FromMinutes(1), ended.Token);
                if (await Task.WhenAny(call.Document.Task, end).ConfigureAwait(false) == end)
                    Leave(call, cancel.IsCancellationRequested
                        ? (Exception)new OperationCanceledException(cancel)
                        : new TimeoutException(kind + ": timed out"));
                ended.Cancel(); // the timer
            }
            return await call.Document.Task.ConfigureAwait(false);
        }

        private void Leave(Call call, Exception reason)
        {
            lock (gate)
            {
                queue.Remove(call);
                if (call.Document.TrySetException(reason) && call == running)
                    EndWaiting(new InventoryBusyException());
            }
        }

        private void EndWaiting(Exception reason)
        {
            foreach (var call in queue)
                call.Document.TrySetException(reason);
            queue.Clear();
        }

        private void Run()
        {
            while (true)
            {
                Call call;
                lock (gate)
                {
                    while (queue.Count == 0 && !disposed)
                        Monitor.Wait(gate);
                    if (disposed)
                        return;
                    call = running = queue.First.Value;
                    queue.RemoveFirst();
                }
                byte[] document = null;
                Exception failure = null;
                try
                {
                    document = library.Collect(call.Kind, log);
                }
                catch (Exception thrown)
                {
                    failure = thrown;
                }
                lock (gate)
                    running = null;
                if (failure == null)
                    call.Document.TrySetResult(document);
                else
                    call.Document.TrySetException(failure);
            }
        }
    }
}
