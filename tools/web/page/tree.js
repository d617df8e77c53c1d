// A document as a tree whose branches open.
import { List, element, setText } from "./dom.js";

function entriesOf(value) {
    return Object.entries(value).map(([name, member]) => ({ name, value: member }));
}

/** What a closed branch says of what is in it. */
function summaryOf(value) {
    if (!Array.isArray(value)) {
        return value.name ?? value.procName ?? "";
    }
    return `${value.length} ${value.length === 1 ? "entry" : "entries"}`;
}

const isBranch = (value) => value !== null && typeof value === "object" && Object.keys(value).length > 0;

const isLong = (value) => Array.isArray(value) && value.length > 4;

class Branch {
    #title = element("span");
    #about = element("span", { className: "about" });
    #children = element("div", { className: "branch" });
    #list;
    #value = null;

    constructor(isOpen) {
        this.#list = new Members(this.#children, isOpen);
        this.node = element("details", { open: isOpen, ontoggle: () => this.#show() },
            element("summary", {}, this.#title, " ", this.#about), this.#children);
    }

    update({ name, value }) {
        this.#value = value;
        setText(this.#title, name);
        setText(this.#about, summaryOf(value));
        this.#show();
    }

    #show() {
        if (this.node.open) {
            this.#list.update(this.#value);
        }
    }
}

class Leaf {
    #title = element("span", { className: "name" });
    #value = element("span", { className: "value" });

    constructor() {
        this.node = element("div", { className: "leaf" }, this.#title, " ", this.#value);
    }

    update({ name, value }) {
        setText(this.#title, name);
        setText(this.#value, typeof value === "string" ? value : JSON.stringify(value));
    }
}

/** The members of an object or array, as children of an element; branches are closed at first, or short ones open. */
export class Members {
    #list;

    constructor(parent, isOpen = false) {
        this.#list = new List(parent, ({ name, value }) => `${isBranch(value)} ${name}`,
            ({ value }) => (isBranch(value) ? new Branch(isOpen && !isLong(value)) : new Leaf()));
    }

    update(value) {
        this.#list.update(entriesOf(value));
    }
}
