// Applications: what they have opened, what they have asked for, and what they have been told.
import { onState } from "./connection.js";
import { List, byId, element, setText, whenChanged } from "./dom.js";
import { openedIn, ownerText } from "./owners.js";

const kNone = "nothing is open";

/** Clients, and owners that are no clients any more, with what is theirs. */
function applicationsIn(state) {
    const applications = new Map(state.clients.map((client) => [ownerText(client), { client, opened: [] }]));
    for (const { owner, what, number, runs } of openedIn(state)) {
        if (!applications.has(owner)) {
            applications.set(owner, { client: null, opened: [] });
        }
        applications.get(owner).opened.push(`${what} ${number}${runs ? "" : " (stopped)"}`);
    }
    return [...applications].map(([name, entry]) => ({ name, ...entry }));
}

function notificationsText(client) {
    if (!client) {
        return "no client any more";
    }
    const dropped = client.notificationsDropped === 0 ? "" : `, ${client.notificationsDropped} dropped`;
    return `${client.notificationsSent} notifications sent${dropped}`;
}

function applicationView() {
    const name = element("strong");
    const notifications = element("span", { className: "about" });
    const opened = element("span", { className: "about" });
    return {
        node: element("li", {}, element("div", { className: "row" }, name), opened, notifications),
        update(entry) {
            setText(name, entry.name);
            setText(opened, entry.opened.join(", ") || kNone);
            setText(notifications, notificationsText(entry.client));
        },
    };
}

function countsOf({ results, otherResults, ...request }) {
    const others = results.filter(({ result }) => result !== 0)
        .map(({ result, resultName, count }) => `${resultName ?? result}: ${count}`);
    return { ...request, ok: results.find(({ result }) => result === 0)?.count ?? 0,
        others: [...others, ...(otherResults ? [`others: ${otherResults}`] : [])].join(", ") };
}

function requestView() {
    const cells = [element("th", { scope: "row" }), element("td"), element("td")];
    return {
        node: element("tr", {}, ...cells),
        update(request) {
            const { number, name, ok, others } = countsOf(request);
            [name ?? number, ok, others].forEach((text, i) => setText(cells[i], text));
            this.node.classList.toggle("refused", others !== "");
        },
    };
}

/** What applications have asked for, without what steers the device, as this page does. */
function requestsIn({ requests }) {
    return requests.filter(({ name }) => !name?.startsWith("CONTROL_"));
}

function totalOf(requests) {
    return requests.reduce((sum, { results, otherResults }) =>
        results.reduce((part, { count }) => part + count, sum + otherResults), 0);
}

export function showApplications() {
    const applications = new List(byId("applications"), (entry) => entry.name, applicationView);
    onState(whenChanged(applicationsIn, (entries) => {
        applications.update(entries);
        byId("applications").classList.toggle("empty", entries.length === 0);
    }));
    const details = byId("requests");
    const requests = new List(details.querySelector("tbody"), (request) => request.number, requestView);
    let latest = [];
    const show = () => details.open && requests.update(latest);
    details.addEventListener("toggle", show);
    onState(whenChanged(requestsIn, (entries) => {
        latest = entries;
        setText(byId("request-total"), `(${totalOf(entries)})`);
        show();
    }));
}
