// Prints the hardware inventory of this machine, one document a line.
//     machine [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]
using System;
using System.Collections.Generic;
using System.IO;
using System.Text;
using System.Threading;
using HwInventory;

internal static class Machine
{
    private static int Main(string[] arguments)
    {
        Console.OutputEncoding = new UTF8Encoding(false);
        var words = new Queue<string>(arguments);
        var options = new Dictionary<string, int> { { "--log", 0 }, { "--limit", 60000 }, { "--retry", 0 }, { "--times", 1 } };
        while (words.Count > 0 && options.ContainsKey(words.Peek()))
        {
            var option = words.Dequeue();
            options[option] = option == "--log" ? 1 : int.Parse(words.Dequeue());
        }
        if (words.Count == 0)
        {
            Console.WriteLine("usage: machine [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]");
            return 64;
        }
        var log = options["--log"] == 1 ? (level, message) => Console.WriteLine($"log {(uint)level}: {message}") : (Action<LogLevel, string>)null;
        try
        {
            using (var inventory = new Inventory(words.Dequeue(), log))
                for (var time = 0; time < options["--times"]; time++)
                    foreach (var kind in words.Count > 0 ? words : Document.Types.Keys)
                        Show(inventory, kind, TimeSpan.FromMilliseconds(options["--limit"]), TimeSpan.FromMilliseconds(options["--retry"]));
            return 0;
        }
        catch (Exception missing) when (missing is FileNotFoundException || missing is DllNotFoundException)
        {
            Console.WriteLine(missing.Message);
            return 1;
        }
    }

    private static void Show(Inventory inventory, string kind, TimeSpan limit, TimeSpan retry)
    {
        var busy = kind + ": busy";
        var line = Collect(inventory, kind, limit, busy);
        if (line == busy)
            Console.WriteLine(line);
        for (var end = DateTime.UtcNow + retry; line == busy && DateTime.UtcNow < end; line = Collect(inventory, kind, limit, busy))
            Thread.Sleep(50);
        if (line != busy)
            Console.WriteLine(line);
    }

    private static string Collect(Inventory inventory, string kind, TimeSpan limit, string busy)
    {
        try
        {
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
