// Prints the hardware inventory of this machine, one document a line.
//     machine [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]
//     --json      as the library wrote the documents
//     --log       with the library's log
//     --limit     the longest that a collection may take
//     --retry     how long to try again while an earlier collection is not back
//     --times     how often to collect
using System;
using System.Collections.Generic;
using System.IO;
using System.Text;
using System.Threading;
using HwInventory;

internal static class Machine
{
    private static readonly Dictionary<string, int> Options = new Dictionary<string, int>
    {
        { "--json", 0 }, { "--log", 0 }, { "--limit", 60000 }, { "--retry", 0 }, { "--times", 1 },
    };

    private static int Main(string[] arguments)
    {
        Console.OutputEncoding = new UTF8Encoding(false);
        var words = new Queue<string>(arguments);
        while (words.Count > 0 && Options.ContainsKey(words.Peek()))
        {
            var option = words.Dequeue();
            Options[option] = option == "--json" || option == "--log" ? 1 : int.Parse(words.Dequeue());
        }
        if (words.Count == 0)
        {
            Console.WriteLine("usage: machine [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]");
            return 64;
        }
        try
        {
            using (var inventory = new Inventory(words.Dequeue(), Options["--log"] == 1 ? PrintLog : (Action<LogLevel, string>)null))
                for (var time = 0; time < Options["--times"]; time++)
                    foreach (var kind in words.Count > 0 ? words : Document.Types.Keys)
                        Print(inventory, kind);
            return 0;
        }
        catch (Exception missing) when (missing is FileNotFoundException || missing is DllNotFoundException)
        {
            Console.WriteLine(missing.Message);
            return 1;
        }
    }

    private static void PrintLog(LogLevel level, string message) => Console.WriteLine($"log {(uint)level}: {message}");

    private static void Print(Inventory inventory, string kind)
    {
        var busy = kind + ": busy";
        var end = DateTime.UtcNow.AddMilliseconds(Options["--retry"]);
        var line = Collect(inventory, kind, busy);
        if (line == busy)
            Console.WriteLine(busy);
        for (; line == busy && DateTime.UtcNow < end; line = Collect(inventory, kind, busy))
            Thread.Sleep(50);
        if (line != busy)
            Console.WriteLine(line);
    }

    private static string Collect(Inventory inventory, string kind, string busy)
    {
        var limit = TimeSpan.FromMilliseconds(Options["--limit"]);
        try
        {
            if (Options["--json"] == 1)
                return Encoding.UTF8.GetString(inventory.CollectJsonAsync(kind, limit).GetAwaiter().GetResult());
            var json = new MemoryStream();
            inventory.CollectAsync(kind, limit).GetAwaiter().GetResult().Write(json);
            return Encoding.UTF8.GetString(json.ToArray());
        }
        catch (InventoryException failure)
        {
            var record = failure.Record;
            return $"{failure.Message} ({record.Function} in {record.File}, line {record.Line})";
        }
        catch (TimeoutException)
        {
            return kind + ": timed out";
        }
        catch (InventoryBusyException)
        {
            return busy;
        }
    }
}
