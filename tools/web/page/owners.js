// What applications have opened.

// Lists of the state whose entries have an owner: the number of an entry, and what it is.
const kOpened = [
    ["inputEngines", "inEngNo", "input engine"],
    ["outputEngines", "outEngNo", "output engine"],
    ["encoders", "encStmNo", "encoder"],
    ["decoders", "decStmNo", "decoder"],
    ["overlays", "overlayChn", "overlay"],
    ["remoteMice", "mouseStmNo", "remote mouse"],
    ["localMice", "localMouseStmNo", "local mouse"],
    ["uvcStreams", "uvcStmNo", "UVC stream"],
];

export function ownerText({ procName, process }) {
    return `${procName}[${process}]`;
}

/** Everything that is opened: its owner's text, what it is, its number, and whether it runs. */
export function openedIn(state) {
    return kOpened.flatMap(([list, number, what]) => (state[list] ?? []).filter((entry) => entry.owner)
        .map((entry) => ({ owner: ownerText(entry.owner), what, field: number, number: entry[number],
            runs: entry.started ?? entry.enabled ?? false })));
}
