// The tools that tools/list must return, kind by kind, in that order.

const date = {
    type: 'string',
    description:
        "Date or date-time: 2026-10-14, 2026-10-14T15:00 (this Mac's time zone) or ISO 8601 with an offset.",
};
const text = { type: 'string' };
const texts = { type: 'array', items: text };

/** @param {Record<string, object>} properties @param {string[]} required */
const schema = (properties, required = []) => ({
    type: 'object',
    properties,
    required,
    additionalProperties: false,
});

const reads = { readOnlyHint: true, destructiveHint: false };
const changes = { readOnlyHint: false, destructiveHint: false };

/** @type {Record<string, {name: string, description: string, annotations: object, inputSchema: object}[]>} */
const catalogue = {
    calendar: [
        {
            name: 'calendar_list_events',
            description: "List events in the user's calendars between two dates (default: today).",
            annotations: reads,
            inputSchema: schema({
                start: date,
                end: date,
                days: {
                    type: 'integer',
                    description: 'Days from start when end is not given (1–62).',
                    minimum: 1,
                    maximum: 62,
                },
                calendar: { type: 'string', description: 'Only this calendar (by name).' },
            }),
        },
        {
            name: 'calendar_create_event',
            description: "Add an event to the user's calendar. The user is asked to allow it first.",
            annotations: changes,
            inputSchema: schema(
                {
                    title: text,
                    start: date,
                    end: date,
                    duration_minutes: { type: 'integer', minimum: 1, maximum: 10080 },
                    all_day: { type: 'boolean' },
                    location: text,
                    notes: text,
                    calendar: text,
                },
                ['title', 'start'],
            ),
        },
    ],
    reminders: [
        {
            name: 'reminders_list',
            description: "List the user's reminders (by default the ones not completed).",
            annotations: reads,
            inputSchema: schema({
                list: { type: 'string', description: 'Only this list (by name).' },
                include_completed: { type: 'boolean' },
                due_before: date,
            }),
        },
        {
            name: 'reminders_create',
            description: 'Add a reminder. The user is asked to allow it first.',
            annotations: changes,
            inputSchema: schema(
                {
                    title: text,
                    due: date,
                    list: text,
                    notes: text,
                    priority: { type: 'integer', description: '0 none, 1 high … 9 low', minimum: 0, maximum: 9 },
                },
                ['title'],
            ),
        },
        {
            name: 'reminders_complete',
            description:
                'Mark a reminder completed (id from reminders_list). The user is asked to allow it first.',
            annotations: changes,
            inputSchema: schema({ id: text }, ['id']),
        },
    ],
    contacts: [
        {
            name: 'contacts_search',
            description: "Find people in the user's contacts by name.",
            annotations: reads,
            inputSchema: schema({ query: text, limit: { type: 'integer', minimum: 1, maximum: 50 } }, ['query']),
        },
    ],
    notes: [
        {
            name: 'notes_search',
            description: 'Find notes in Apple Notes whose title or text contains the query.',
            annotations: reads,
            inputSchema: schema({ query: text, limit: { type: 'integer', minimum: 1, maximum: 30 } }, ['query']),
        },
        {
            name: 'notes_create',
            description: 'Create a note in Apple Notes. The user is asked to allow it first.',
            annotations: changes,
            inputSchema: schema({ title: text, body: text, folder: text }, ['title', 'body']),
        },
    ],
    mail: [
        {
            name: 'mail_list',
            description: 'List recent messages in the Mail inbox (newest first).',
            annotations: reads,
            inputSchema: schema({
                days: { type: 'integer', minimum: 1, maximum: 31 },
                limit: { type: 'integer', minimum: 1, maximum: 100 },
                unread_only: { type: 'boolean' },
            }),
        },
        {
            name: 'mail_read',
            description: 'Read one inbox message (id from mail_list).',
            annotations: reads,
            inputSchema: schema({ id: { type: 'integer' } }, ['id']),
        },
        {
            name: 'mail_create_draft',
            description:
                'Save a message as a draft in Mail. It is never sent. The user is asked to allow it first.',
            annotations: changes,
            inputSchema: schema({ to: texts, cc: texts, subject: text, body: text }, ['to', 'subject', 'body']),
        },
    ],
};

/**
 * Returns the tools of the given kinds, by default of all, in the order of the list.
 * @param {string[]} kinds
 */
export const tools = (kinds = Object.keys(catalogue)) =>
    Object.entries(catalogue).flatMap(([kind, group]) => (kinds.includes(kind) ? group : []));

export const identity = { name: 'velmiro-apple', version: '1.0' };
export const instructions =
    "The user's own Apple data on this Mac. Read tools run at once. Tools that change data ask the user first; if the user says no, do not retry unless asked.";
