"use strict";
// The search box: it leaves the rows that contain each of the words, in themselves, in their heading or in their machine's name.
// The search is in the page's address, "#q=words", so that it can be linked.
(() => {
    const search = document.querySelector("[role=search]");
    const box = search.querySelector("input");
    const found = search.querySelector("output");
    const mostOpen = 10;
    const overview = document.querySelectorAll("#overview tbody tr");
    let machines = null;

    const textOf = (...elements) => elements.map((element) => element?.textContent ?? "").join(" ").toLowerCase();

    // Read at the first search, which a large page need not wait for.
    const read = () => [...document.querySelectorAll(".machine")].map((element, index) => {
        const name = textOf(element.querySelector("summary"));
        const section = (part) => {
            const heading = `${name} ${textOf(part.querySelector("h3"))} `;
            const rows = [...part.querySelectorAll("tbody tr:not(.inner), dl > div, p")].map((row) => {
                const inner = row.nextElementSibling?.matches(".inner") ? row.nextElementSibling : null;
                return { element: row, inner, text: heading + textOf(row, inner) };
            });
            return { element: part, rows };
        };
        const sections = [...element.querySelectorAll(".facts, section")].map(section);
        return { element, sections, overview: overview[index], open: element.open };
    });

    const show = (element, shown) => {
        if (element)
            element.hidden = !shown;
        return shown;
    };

    const filter = (words) => {
        machines ??= read();
        const matches = (row) => {
            const shown = words.every((word) => row.text.includes(word));
            show(row.inner, shown);
            return show(row.element, shown);
        };
        let rows = 0;
        const left = machines.filter((machine) => {
            const shown = machine.sections.filter((section) => {
                const count = section.rows.filter(matches).length;
                rows += count;
                return show(section.element, count > 0);
            });
            show(machine.overview, shown.length > 0);
            return show(machine.element, shown.length > 0);
        });
        show(document.querySelector("#overview"), left.length > 0);
        for (const machine of machines)
            machine.element.open = words.length === 0 ? machine.open : left.length <= mostOpen;
        const count = (number, noun) => `${number} ${noun}${number === 1 ? "" : "s"}`;
        found.textContent = words.length === 0 ? "" : rows === 0 ? "Nothing found"
            : `${count(rows, "row")} of ${count(left.length, "machine")}`;
    };

    const apply = () => filter(box.value.toLowerCase().split(/\s+/).filter(Boolean));

    const fromAddress = () => {
        if (!location.hash.startsWith("#q="))
            return;
        try {
            box.value = decodeURIComponent(location.hash.slice(3));
        } catch {
            return; // no text in UTF-8
        }
        apply();
    };

    let waiting = 0;
    box.addEventListener("input", () => {
        clearTimeout(waiting);
        waiting = setTimeout(() => {
            history.replaceState(null, "", box.value ? `#q=${encodeURIComponent(box.value)}` : "#");
            apply();
        }, 120);
    });
    addEventListener("hashchange", fromAddress);
    search.hidden = false;
    fromAddress();
})();
