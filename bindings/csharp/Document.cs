using System.IO;
using System.Runtime.Serialization.Json;

namespace HwInventory
{
    public abstract partial class Document
    {
        /// <summary>Decodes a document of a kind, also one that was collected elsewhere.</summary>
        public static Document Read(string kind, byte[] json)
        {
            using (var stream = new MemoryStream(json))
                return (Document)new DataContractJsonSerializer(Types[kind]).ReadObject(stream);
        }

        /// <summary>Encodes it, without the keys that are null.</summary>
        public void Write(Stream stream) => new DataContractJsonSerializer(GetType()).WriteObject(stream, this);
    }
}
