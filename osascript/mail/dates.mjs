// The dates of mail headers (RFC 5322, obsolete forms too). `new Date(text)` would take nearly anything
// for a date.

const months = ['jan', 'feb', 'mar', 'apr', 'may', 'jun', 'jul', 'aug', 'sep', 'oct', 'nov', 'dec'];

/** @type {Record<string, number>} hours */
const zones = { est: -5, edt: -4, cst: -6, cdt: -5, mst: -7, mdt: -6, pst: -8, pdt: -7 };

const form =
    /^\s*(?:[a-z]{3,9},?\s+)?(\d{1,2})[\s-]+([a-z]{3})[a-z]{0,6}[\s-]+(\d{4}|\d{2})\s+(\d{1,2}):(\d{2})(?::(\d{2}))?(?:\s*([+-]\d{4}|[a-z]{1,5}))?(?![^\s(])/i;

/** @param {string} zone @returns {number} its distance from UTC in minutes; an unknown one has none */
function minutes(zone) {
    const [, sign, hours, rest] = /^([+-])(\d\d)(\d\d)$/.exec(zone) ?? [];
    if (!sign) return (zones[zone.toLowerCase()] ?? 0) * 60;
    return (sign === '-' ? -1 : 1) * (Number(hours) * 60 + Number(rest));
}

/**
 * @param {string} text
 * @returns {number} milliseconds since 1970, NaN where it is no date
 */
export function parseDate(text) {
    const [, day, name, year, hour, minute, second = '0', zone = ''] =
        form.exec(text.slice(0, 200)) ?? [];
    const month = months.indexOf(name?.toLowerCase());
    if (month < 0) return NaN;
    const short = Number(year);
    const full = year.length === 4 ? short : short + (short < 50 ? 2000 : 1900);
    const local = Date.UTC(
        full,
        month,
        Number(day),
        Number(hour),
        Number(minute),
        Math.min(Number(second), 59),
    );
    const impossible =
        new Date(local).getUTCDate() !== Number(day) || Number(hour) > 23 || Number(minute) > 59;
    return impossible ? NaN : local - minutes(zone) * 60000;
}
