// The whole state of the device, while somebody looks at it.
import { onState } from "./connection.js";
import { byId, element } from "./dom.js";
import { Members } from "./tree.js";

export function showState() {
    const details = byId("state");
    const tree = element("div", { className: "tree scroll", tabIndex: 0, role: "region", "aria-label": "State" });
    details.append(tree);
    const members = new Members(tree);
    let latest = null;
    const show = () => details.open && latest && members.update(latest);
    details.addEventListener("toggle", show);
    onState((state) => {
        latest = state;
        show();
    });
}
